/*{
    "LABEL": "Retro",
    "DESCRIPTION": "A warm evening on old film: faded colours, a little grain and a soft frame of shade.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "warmth", "LABEL": "Warmth", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "fade", "LABEL": "Fade", "TYPE": "float", "DEFAULT": 0.45, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "fringe", "LABEL": "Colour fringe", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "grain", "LABEL": "Grain", "TYPE": "float", "DEFAULT": 0.35, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "shade", "LABEL": "Vignette", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "leak", "LABEL": "Light leak", "TYPE": "float", "DEFAULT": 0.35, "MIN": 0.0, "MAX": 1.0 }
    ]
}*/

varying float seed;
varying vec2 grainScale;
varying vec2 leakPlace;

void main()
{
    vec2 at = isf_FragNormCoord;
    vec2 fromCenter = at - 0.5;
    float far = dot(fromCenter, fromCenter);

    // The lens bends red outwards and leaves green and blue where they are.
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    color.r = IMG_NORM_PIXEL(inputImage, at - fromCenter * (fringe * 0.012)).r;

    // Faded film: the contrast is a soft S, colours lean towards grey, blacks are lifted.
    color *= 0.55 + color * (1.35 - 0.9 * color);
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    color = mix(color, vec3(light), fade * 0.35);

    // Warm lights and cool shadows.
    color *= 1.0 - fade * 0.14 + (0.35 + light) * (warmth * vec3(0.16, 0.02, -0.24));
    color += fade * vec3(0.075, 0.06, 0.085);

    vec2 fromLeak = at - leakPlace;
    float glow = max(0.0, leak - dot(fromLeak, fromLeak) * 2.2);
    color += glow * vec3(0.62, 0.24, 0.05);

    float noise = fract(52.9829189 * fract(dot(at, grainScale) + seed));
    gl_FragColor = vec4((color + (noise - 0.5) * (grain * 0.16)) * (1.0 - far * (shade * 1.7)), 1.0);
}
