/*{
    "LABEL": "Black and White Film",
    "DESCRIPTION": "Silver and light: a colour filter before the lens, rich contrast and fine grain.",
    "CATEGORIES": ["Color"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "lens", "LABEL": "Lens filter", "TYPE": "long", "VALUES": [0, 1, 2, 3, 4], "LABELS": ["None", "Yellow", "Red", "Green", "Blue"], "DEFAULT": 1 },
        { "NAME": "contrast", "LABEL": "Contrast", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "grain", "LABEL": "Grain", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "tone", "LABEL": "Warm tone", "TYPE": "float", "DEFAULT": 0.25, "MIN": -1.0, "MAX": 1.0 },
        { "NAME": "shade", "LABEL": "Vignette", "TYPE": "float", "DEFAULT": 0.45, "MIN": 0.0, "MAX": 1.0 }
    ]
}*/

varying vec3 sensitivity;
varying float seed;
varying vec2 grainScale;

void main()
{
    vec2 at = isf_FragNormCoord;
    vec2 fromCenter = at - 0.5;
    float light = min(dot(IMG_THIS_PIXEL(inputImage).rgb, sensitivity), 1.0);
    light = mix(light, light * light * (3.0 - 2.0 * light), contrast * 1.3);
    light *= 1.0 - dot(fromCenter, fromCenter) * shade * 1.5;
    float noise = fract(52.9829189 * fract(dot(floor(at * RENDERSIZE), grainScale) + seed)) - 0.5;
    light += noise * grain * (0.06 + 0.5 * light * (1.0 - light));
    // Warm paper tints the middle tones and leaves black and white alone.
    gl_FragColor = vec4(light + light * (1.0 - light) * tone * vec3(0.28, 0.06, -0.30), 1.0);
}
