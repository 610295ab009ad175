/*{
    "LABEL": "Light Streaks",
    "DESCRIPTION": "Lamps and glints draw long blue lines, as through the lenses of wide-screen films.",
    "CATEGORIES": ["Light"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "threshold", "LABEL": "Brightness that streaks", "TYPE": "float", "DEFAULT": 0.72, "MIN": 0.2, "MAX": 0.98 },
        { "NAME": "strength", "LABEL": "Strength", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.5 },
        { "NAME": "reach", "LABEL": "Length", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.05, "MAX": 1.0 },
        { "NAME": "tint", "LABEL": "Colour", "TYPE": "color", "DEFAULT": [0.30, 0.55, 1.0, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "lamps", "WIDTH": "$WIDTH * min(1, 180 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 180)" },
        { "TARGET": "near", "WIDTH": "$WIDTH * min(1, 90 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 180)" },
        { "TARGET": "far", "WIDTH": "$WIDTH * min(1, 90 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 180)" },
        { }
    ]
}*/

// Only what is much brighter than its surroundings above and below is a lamp: walls in the sun are bright too.
vec4 find()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    vec3 above = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(0.0, 0.035)).rgb;
    vec3 below = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - vec2(0.0, 0.035)).rgb;
    float around = dot(min(above, below), vec3(0.30, 0.59, 0.11));
    float lamp = clamp((light - threshold) * 5.0, 0.0, 1.0) * clamp((light - around) * 3.5 - 0.1, 0.0, 1.0);
    return vec4(vec3(lamp), 1.0);
}

// Five places to either side, fading; the second time seven times as far apart.
#define SMEAR(image, apart) \
    vec4 sum = IMG_THIS_PIXEL(image); \
    for (int i = 1; i < 6; ++i) { \
        float fade = 1.0 - float(i) / 6.0; \
        sum += (IMG_NORM_PIXEL(image, isf_FragNormCoord + vec2((apart) * float(i), 0.0)) \
            + IMG_NORM_PIXEL(image, isf_FragNormCoord - vec2((apart) * float(i), 0.0))) * fade; \
    } \
    gl_FragColor = sum * 0.27;

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = find();
    } else if (PASSINDEX == 1) {
        SMEAR(lamps, 0.008 * reach)
    } else if (PASSINDEX == 2) {
        SMEAR(near, 0.054 * reach)
    } else {
        vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
        float streak = IMG_THIS_PIXEL(far).r * strength;
        // The core of a strong streak is white.
        vec3 light = tint.rgb * streak + max(streak - 0.75, 0.0) * 0.7;
        gl_FragColor = vec4(color + light * (1.0 - 0.6 * color), 1.0);
    }
}
