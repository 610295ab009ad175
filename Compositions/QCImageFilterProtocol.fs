/*{
    "LABEL": "Protocol",
    "DESCRIPTION": "You as an engineering drawing: chalk lines and hatching on blueprint paper.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "lines", "LABEL": "Lines", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "shading", "LABEL": "Shading", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "hatching", "LABEL": "Hatching", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "grid", "LABEL": "Grid", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "chalk", "LABEL": "Chalk", "TYPE": "color", "DEFAULT": [0.87, 0.95, 1.0, 1.0] },
        { "NAME": "paper", "LABEL": "Paper", "TYPE": "color", "DEFAULT": [0.03, 0.16, 0.36, 1.0] }
    ]
}*/

void main()
{
    vec2 place = isf_FragNormCoord * RENDERSIZE;
    float light = dot(IMG_THIS_PIXEL(inputImage).rgb, vec3(0.30, 0.59, 0.11));

    // A line where the light changes within two pixels. Dark places need a smaller step than bright ones, as for the eye.
    float slope = (abs(dFdx(light)) + abs(dFdy(light))) / (light + 0.17);
    float line = clamp((slope - 0.11) * (lines * 14.0), 0.0, 1.0);

    // Flat tones; the upper ones are hatched one way, the highest both ways.
    float tone = floor(light * 5.0 + 0.3);
    vec2 hatch = step(fract(vec2(place.x + place.y, place.x - place.y) * 0.125), vec2(tone * 0.09 - 0.08, tone * 0.14 - 0.42));

    // A ruled line every forty pixels.
    vec2 ruled = step(fract(place * 0.025), vec2(0.025));

    float amount = tone * (shading * 0.1) + (hatch.x + hatch.y) * (hatching * 0.22) + max(ruled.x, ruled.y) * (grid * 0.2);
    gl_FragColor = vec4(mix(paper.rgb, chalk.rgb, min(amount + line, 1.0)), 1.0);
}
