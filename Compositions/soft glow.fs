/*{
    "LABEL": "Soft Glow",
    "DESCRIPTION": "Light that blooms and skin like silk, as through a portrait lens.",
    "CATEGORIES": ["Light"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "amount", "LABEL": "Glow", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "radius", "LABEL": "Width", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "lights", "LABEL": "Only lights glow", "TYPE": "float", "DEFAULT": 0.45, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "warmth", "LABEL": "Warmth", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "small", "WIDTH": "$WIDTH / 4", "HEIGHT": "$HEIGHT / 4" },
        { "TARGET": "across", "WIDTH": "$WIDTH / 4", "HEIGHT": "$HEIGHT / 4" },
        { "TARGET": "halo", "WIDTH": "$WIDTH / 4", "HEIGHT": "$HEIGHT / 4" },
        { }
    ]
}*/

// Four smoothed readings take in all sixteen pixels.
vec4 shrink()
{
    vec2 apart = vec2(0.25) / RENDERSIZE;
    vec3 color = 0.25 * (IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(apart.x, -apart.y)).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(-apart.x, apart.y)).rgb);
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    return vec4(color * mix(1.0, light * light * 1.5, lights), 1.0);
}

// A bell of nine places in five readings between them.
#define BELL(image, step) (IMG_THIS_PIXEL(image) * 0.227 \
    + (IMG_NORM_PIXEL(image, isf_FragNormCoord + (step) * 1.385) + IMG_NORM_PIXEL(image, isf_FragNormCoord - (step) * 1.385)) * 0.316 \
    + (IMG_NORM_PIXEL(image, isf_FragNormCoord + (step) * 3.231) + IMG_NORM_PIXEL(image, isf_FragNormCoord - (step) * 3.231)) * 0.0703)

void main()
{
    float reach = (0.6 + 2.4 * radius) * RENDERSIZE.y / 180.0;
    if (PASSINDEX == 0)
        gl_FragColor = shrink();
    else if (PASSINDEX == 1)
        gl_FragColor = BELL(small, vec2(reach / RENDERSIZE.x, 0.0));
    else if (PASSINDEX == 2)
        gl_FragColor = BELL(across, vec2(0.0, reach / RENDERSIZE.y));
    else {
        vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
        vec3 glow = IMG_THIS_PIXEL(halo).rgb * (1.0 + warmth * vec3(0.18, 0.02, -0.20)) * amount;
        // Two lights over each other, as on film: never more than white.
        gl_FragColor = vec4(color + glow - color * glow, 1.0);
    }
}
