/*{
    "LABEL": "Sound Spectrum",
    "DESCRIPTION": "Bars of light that dance to what the microphone hears, low pitches to high ones.",
    "CATEGORIES": ["Overlay"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "sound", "TYPE": "audioFFT" },
        { "NAME": "place", "LABEL": "Place", "TYPE": "long", "VALUES": [0, 1, 2], "LABELS": ["Bottom", "Middle", "Top"], "DEFAULT": 0 },
        { "NAME": "mirrored", "LABEL": "Low pitches in the middle", "TYPE": "bool", "DEFAULT": true },
        { "NAME": "height", "LABEL": "Height", "TYPE": "float", "UNIT": "%", "DEFAULT": 35.0, "MIN": 10.0, "MAX": 100.0 },
        { "NAME": "sensitivity", "LABEL": "Sensitivity", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "calm", "LABEL": "Calm", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "low", "LABEL": "Colour below", "TYPE": "color", "DEFAULT": [0.16, 0.45, 1.0, 1.0] },
        { "NAME": "high", "LABEL": "Colour above", "TYPE": "color", "DEFAULT": [1.0, 0.36, 0.62, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "levels", "WIDTH": "40", "HEIGHT": "1", "PERSISTENT": true, "FLOAT": true, "FILTER": "NEAREST" },
        { }
    ]
}*/

varying vec2 inField;

// Red: how loud the pitches of a bar are, falling slowly. Green: the cap that rests above it and falls more slowly.
vec4 listen()
{
    vec4 before = IMG_THIS_PIXEL(levels);
    // From 60 Hz to 14 kHz of the 24 kHz that there are, each bar by the same ratio above the one before it.
    float first = 0.0025 * pow(233.0, isf_FragNormCoord.x - 0.5 / RENDERSIZE.x);
    float last = first * pow(233.0, 1.0 / RENDERSIZE.x);
    float loudest = 0.0;
    for (int i = 0; i < 12; i++)
        loudest = max(loudest, IMG_NORM_PIXEL(sound, vec2(mix(first, last, float(i) / 11.0), 0.5)).r);
    // High pitches are weaker in all that sounds.
    float level = (loudest - mix(0.62, 0.22, sensitivity)) * 1.9 * (0.85 + 0.45 * isf_FragNormCoord.x);
    level = clamp(level, 0.015, 1.0);
    level = max(level, before.r - TIMEDELTA * mix(4.0, 0.5, calm));
    return vec4(level, max(level, before.g - TIMEDELTA * mix(0.8, 0.2, calm)), 0.0, 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = listen();
        return;
    }
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    vec2 at = abs(inField);
    vec2 level = IMG_NORM_PIXEL(levels, vec2(at.x, 0.5)).rg;
    // The sharpness is that of a pixel, the size that of a bar.
    float beside = 0.36 - abs(fract(at.x * 40.0) - 0.5);
    float inBar = clamp(beside * (mirrored ? RENDERSIZE.x / 80.0 : RENDERSIZE.x / 40.0) + 0.5, 0.0, 1.0);
    float steps = RENDERSIZE.y * height * 0.01;
    float above = at.y - level.x;
    float lit = clamp(0.5 - above * steps, 0.0, 1.0);
    float cap = clamp(1.9 - abs(at.y - level.y - 0.012) * steps, 0.0, 1.0) * clamp((level.y - level.x) * 12.0, 0.0, 0.8);
    float halo = clamp(1.0 - max(above, 0.0) * 2.8, 0.0, 1.0);
    vec3 light = mix(low.rgb, high.rgb, min(at.y, 1.0));
    // Behind the bars the picture is darker, so that they are seen before a white wall too.
    color *= 1.0 - 0.45 * max(1.0 - at.y, 0.0);
    color += light * (halo * halo * level.x * 0.45);
    gl_FragColor = vec4(mix(color, light * 1.1 + 0.08, inBar * max(lit * 0.92, cap)), 1.0);
}
