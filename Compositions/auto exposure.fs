/*{
    "LABEL": "Auto Exposure",
    "DESCRIPTION": "Balances light and colour by itself, as a good camera does: no more dark or yellow evenings.",
    "CATEGORIES": ["Light", "Utility"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "exposure", "LABEL": "Automatic exposure", "TYPE": "float", "DEFAULT": 0.8, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "balance", "LABEL": "Automatic white balance", "TYPE": "float", "DEFAULT": 0.7, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "target", "LABEL": "Brightness", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.2, "MAX": 0.8 },
        { "NAME": "seconds", "LABEL": "Time to settle", "TYPE": "float", "UNIT": "s", "DEFAULT": 1.0, "MIN": 0.1, "MAX": 10.0 },
        { "NAME": "shadows", "LABEL": "Open shadows", "TYPE": "float", "DEFAULT": 0.25, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "small", "WIDTH": "64", "HEIGHT": "36", "FILTER": "NEAREST" },
        { "TARGET": "tiny", "WIDTH": "8", "HEIGHT": "6", "FLOAT": true, "FILTER": "NEAREST" },
        { "TARGET": "measured", "WIDTH": "1", "HEIGHT": "1", "FLOAT": true, "PERSISTENT": true, "FILTER": "NEAREST" },
        { }
    ]
}*/

varying vec3 gain;
varying float learning;

// Four of the pixels that each of these places stands for.
vec4 shrink()
{
    vec2 apart = vec2(0.22, 0.25) / RENDERSIZE;
    vec3 color = 0.25 * (IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(apart.x, -apart.y)).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(-apart.x, apart.y)).rgb);
    return vec4(color, dot(color, vec3(0.30, 0.59, 0.11)));
}

// The mean of a field of 8 by 6 places. Strong colours say little of the lamp's, burnt lights and blacks nothing.
vec4 average()
{
    vec3 lamp = vec3(0.0);
    float trust = 0.001;
    float light = 0.0;
    for (int i = 0; i < 48; ++i) {
        vec4 color = IMG_NORM_PIXEL(small, isf_FragNormCoord + (vec2(float(i % 8), float(i / 8)) - vec2(3.5, 2.5)) / vec2(64.0, 36.0));
        float strong = max(color.r, max(color.g, color.b)) - min(color.r, min(color.g, color.b));
        float weight = clamp(1.1 - strong * 2.2, 0.02, 1.0) * clamp(color.a * 6.0, 0.0, 1.0) * clamp((0.97 - color.a) * 12.0, 0.0, 1.0);
        lamp += color.rgb * weight;
        trust += weight;
        light += color.a;
    }
    return vec4(lamp / trust, light / 48.0);
}

// The whole picture's, with the middle counting twice, reached slowly.
vec4 settle()
{
    vec4 sum = vec4(0.0);
    float weights = 0.0;
    for (int i = 0; i < 48; ++i) {
        vec2 place = (vec2(float(i % 8), float(i / 8)) + 0.5) / vec2(8.0, 6.0);
        float weight = 2.0 - 1.6 * length(place - 0.5);
        sum += IMG_NORM_PIXEL(tiny, place) * weight;
        weights += weight;
    }
    return mix(IMG_THIS_PIXEL(measured), sum / weights, learning);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = shrink();
    } else if (PASSINDEX == 1) {
        gl_FragColor = average();
    } else if (PASSINDEX == 2) {
        gl_FragColor = settle();
    } else {
        vec3 color = IMG_THIS_PIXEL(inputImage).rgb * gain;
        float light = dot(color, vec3(0.30, 0.59, 0.11));
        color *= 1.0 + shadows * max(0.55 - light, 0.0) * 1.6;
        // What the gain lifts beyond white bends over instead of being cut.
        gl_FragColor = vec4(min(color, 0.8 + (color - 0.8) * 0.45), 1.0);
    }
}
