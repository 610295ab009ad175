/*{
    "LABEL": "Retro",
    "DESCRIPTION": "A warm evening on old film: faded colours, a little grain and a soft frame of shade.",
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

varying vec2 seed;
varying vec2 leakPlace;

void main()
{
    vec2 at = isf_FragNormCoord;
    vec2 fromCenter = at - 0.5;
    float far = dot(fromCenter, fromCenter);

    // The lens bends red outwards and leaves green and blue where they are.
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    color.r = IMG_NORM_PIXEL(inputImage, at - fromCenter * (fringe * 0.012)).r;

    // Faded film: blacks are lifted, colours lean towards grey, the contrast is a soft S.
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    color = mix(color, vec3(light), fade * 0.35);
    color = mix(color, color * color * (3.0 - 2.0 * color), 0.45);
    color = color * (1.0 - fade * 0.14) + fade * vec3(0.075, 0.06, 0.085);

    // Warm lights and cool shadows.
    color *= vec3(1.0, 1.0, 1.0) + warmth * vec3(0.16, 0.02, -0.24) * (0.35 + light);
    color.b += warmth * 0.05 * (1.0 - light);

    vec2 fromLeak = at - leakPlace;
    float glow = max(0.0, 1.0 - dot(fromLeak, fromLeak) * 2.2);
    color += glow * glow * leak * vec3(0.62, 0.24, 0.05);

    float noise = fract(52.9829189 * fract(dot(at * RENDERSIZE + seed, vec2(0.06711056, 0.00583715))));
    color += (noise - 0.5) * grain * 0.16;

    gl_FragColor = vec4(color * (1.0 - far * shade * 1.7), 1.0);
}
