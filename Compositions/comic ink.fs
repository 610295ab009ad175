/*{
    "LABEL": "Comic Ink",
    "DESCRIPTION": "Bold ink lines, flat colours and printed dots: you on the cover.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "ink", "LABEL": "Ink", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "tones", "LABEL": "Tones", "TYPE": "float", "DEFAULT": 4.0, "MIN": 2.0, "MAX": 8.0 },
        { "NAME": "saturation", "LABEL": "Colour", "TYPE": "float", "DEFAULT": 1.5, "MIN": 0.0, "MAX": 2.5 },
        { "NAME": "dots", "LABEL": "Printed dots", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "paper", "LABEL": "Paper", "TYPE": "color", "DEFAULT": [1.0, 0.98, 0.91, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "fine", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 360)" },
        { "TARGET": "wide", "WIDTH": "$WIDTH * min(1, 180 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 180)" },
        { "TARGET": "drawn", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 360)" },
        { }
    ]
}*/

varying vec2 dotPlace;

#define CROSS(image, apart) (0.25 * (IMG_NORM_PIXEL(image, isf_FragNormCoord + (apart)) + IMG_NORM_PIXEL(image, isf_FragNormCoord - (apart)) \
    + IMG_NORM_PIXEL(image, isf_FragNormCoord + vec2((apart).x, -(apart).y)) + IMG_NORM_PIXEL(image, isf_FragNormCoord + vec2(-(apart).x, (apart).y))))

// The lightness travels in the fourth part.
vec4 withLight(vec3 color)
{
    return vec4(color, dot(color, vec3(0.30, 0.59, 0.11)));
}

// Flat colour, and in the fourth part the ink: where a place is darker than what lies around it.
vec4 draw()
{
    vec4 near = IMG_THIS_PIXEL(fine);
    float around = IMG_THIS_PIXEL(wide).a;
    float line = clamp((around * (1.0 - 0.05 * ink) - near.a) * (10.0 + 22.0 * ink) / (around + 0.25), 0.0, 1.0);
    float blackness = clamp((0.20 + 0.08 * ink - near.a) * 9.0, 0.0, 1.0) * step(0.01, ink);
    float high = near.a * tones + 0.2;
    float stair = floor(high);
    float flattened = (stair + clamp((high - stair - 0.5) * 7.0 + 0.5, 0.0, 1.0)) / (tones + 0.2);
    return vec4(flattened * 1.08 + (near.rgb - near.a) * saturation, max(line * min(1.0, ink * 3.0), blackness));
}

void main()
{
    vec2 unit = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) / 360.0;
    if (PASSINDEX == 0) {
        gl_FragColor = withLight(IMG_THIS_PIXEL(inputImage).rgb);
    } else if (PASSINDEX == 1) {
        gl_FragColor = CROSS(fine, unit * 2.6);
    } else if (PASSINDEX == 2) {
        gl_FragColor = draw();
    } else {
        vec4 printed = IMG_THIS_PIXEL(drawn);
        float light = dot(printed.rgb, vec3(0.30, 0.59, 0.11));
        // Dots grow with the darkness of the middle tones.
        vec2 fromDot = fract(dotPlace) - 0.5;
        float inDot = clamp((0.62 - light - dot(fromDot, fromDot) * 2.2) * 5.0, 0.0, 1.0) * dots;
        vec3 color = printed.rgb * (1.0 - inDot * vec3(0.42, 0.5, 0.4));
        float inked = clamp((printed.a - 0.32) * 3.2, 0.0, 1.0);
        gl_FragColor = vec4(color * paper.rgb * (1.0 - inked) + vec3(0.05, 0.04, 0.08) * inked, 1.0);
    }
}
