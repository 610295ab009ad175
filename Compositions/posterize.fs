/*{
    "LABEL": "Posterize",
    "DESCRIPTION": "Few flat tones with soft borders, like a screen print.",
    "CATEGORIES": ["Color"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "levels", "LABEL": "Tones", "TYPE": "float", "DEFAULT": 5.0, "MIN": 2.0, "MAX": 12.0 },
        { "NAME": "saturation", "LABEL": "Colour", "TYPE": "float", "DEFAULT": 1.5, "MIN": 0.0, "MAX": 2.5 },
        { "NAME": "hardness", "LABEL": "Hard borders", "TYPE": "float", "DEFAULT": 0.8, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [ { "TARGET": "calm", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 360)" }, { } ]
}*/

// Without the finest detail, shapes are larger and their borders quiet.
vec4 calmDown()
{
    vec2 apart = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) * (1.6 / 360.0);
    return 0.25 * (IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart)
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart)
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(apart.x, -apart.y))
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(-apart.x, apart.y)));
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = calmDown();
        return;
    }
    vec3 color = IMG_THIS_PIXEL(calm).rgb;
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    // Only the lightness goes in steps, so that greys do not fall apart into colours. From one tone to the next leads a
    // short ramp: stairs without one crawl from picture to picture.
    float high = light * (levels - 1.0) + 0.001;
    float stair = floor(high);
    float ramp = clamp((high - stair - 0.5) * (1.0 + hardness * hardness * 14.0) + 0.5, 0.0, 1.0);
    float flattened = (stair + ramp) / (levels - 1.0);
    gl_FragColor = vec4(flattened + (color - light) * saturation, 1.0);
}
