/*{
    "LABEL": "Protocol",
    "DESCRIPTION": "You as an engineering drawing: chalk lines and hatching on blueprint paper.",
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "lines", "LABEL": "Lines", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "shading", "LABEL": "Shading", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "hatching", "LABEL": "Hatching", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "grid", "LABEL": "Grid", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "chalk", "LABEL": "Chalk", "TYPE": "color", "DEFAULT": [0.87, 0.95, 1.0, 1.0] },
        { "NAME": "paper", "LABEL": "Paper", "TYPE": "color", "DEFAULT": [0.03, 0.16, 0.36, 1.0] }
    ]
}*/

const vec3 brightness = vec3(0.30, 0.59, 0.11);

void main()
{
    vec2 at = isf_FragNormCoord;
    vec2 place = at * RENDERSIZE;
    vec2 reach = 1.5 / RENDERSIZE;

    float here = dot(IMG_THIS_PIXEL(inputImage).rgb, brightness);
    float right = dot(IMG_NORM_PIXEL(inputImage, vec2(at.x + reach.x, at.y)).rgb, brightness);
    float above = dot(IMG_NORM_PIXEL(inputImage, vec2(at.x, at.y + reach.y)).rgb, brightness);

    // Dark places need a smaller step for a line than bright ones, as for the eye.
    vec2 slope = vec2(right - here, above - here) / (here + 0.12);
    float line = clamp((dot(slope, slope) * 26.0 - 0.16) * lines * 2.0, 0.0, 1.0);

    // Five flat tones; the upper ones are hatched one way, the highest both ways.
    float tone = floor(here * 5.0 + 0.3) * 0.2;
    float falling = fract((place.x + place.y) * 0.125);
    float rising = fract((place.x - place.y) * 0.125);
    float hatch = step(falling, tone * 0.45 - 0.08) + step(rising, tone * 0.7 - 0.42);

    // Thin lines every sixteen pixels, stronger ones every eighty.
    vec2 fine = step(fract(place * 0.0625), vec2(0.0625));
    vec2 strong = step(fract(place * 0.0125), vec2(0.0125));
    float ruled = max(fine.x, fine.y) * 0.10 + max(strong.x, strong.y) * 0.22;

    float amount = tone * shading * 0.5 + hatch * hatching * 0.22 + ruled * grid;
    gl_FragColor = vec4(mix(paper.rgb, chalk.rgb, clamp(amount + line, 0.0, 1.0)), 1.0);
}
