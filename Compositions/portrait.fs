/*{
    "LABEL": "Portrait",
    "DESCRIPTION": "Sharp eyes and hair, kind to the skin: every pore need not be in the meeting.",
    "CATEGORIES": ["Light", "Utility"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "smoothing", "LABEL": "Smooth skin", "TYPE": "float", "DEFAULT": 0.65, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "sharpening", "LABEL": "Sharpness elsewhere", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.5 },
        { "NAME": "glow", "LABEL": "Healthy glow", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "calm", "WIDTH": "$WIDTH * min(1, 180 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 180)" },
        { "TARGET": "around", "WIDTH": "$WIDTH * min(1, 180 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 180)" },
        { }
    ]
}*/

// Skin of every shade lies in one narrow sector of hue, since it is the same blood and pigment under it.
float skinIn(vec3 color)
{
    float light = dot(color, vec3(0.299, 0.587, 0.114));
    vec2 tint = vec2(color.b - light, color.r - light) / (light + 0.08);
    vec2 away = (tint - vec2(-0.24, 0.25)) * vec2(3.6, 3.4);
    return clamp(1.65 - dot(away, away), 0.0, 1.0);
}

#define CROSS(image, apart) (0.25 * (IMG_NORM_PIXEL(image, isf_FragNormCoord + (apart)) + IMG_NORM_PIXEL(image, isf_FragNormCoord - (apart)) \
    + IMG_NORM_PIXEL(image, isf_FragNormCoord + vec2((apart).x, -(apart).y)) + IMG_NORM_PIXEL(image, isf_FragNormCoord + vec2(-(apart).x, (apart).y))))

void main()
{
    vec2 unit = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) / 360.0;
    if (PASSINDEX == 0) {
        vec2 apart = unit * vec2(0.5, 0.4);
        vec3 color = 0.5 * (IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb);
        gl_FragColor = vec4(color, skinIn(color));
    } else if (PASSINDEX == 1) {
        gl_FragColor = 0.6 * CROSS(calm, unit * 1.5) + 0.4 * CROSS(calm, unit * 3.2);
    } else {
        vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
        vec4 soft = IMG_THIS_PIXEL(around);
        vec3 detail = color - soft.rgb;
        // Small differences are pores and noise; large ones are eyes, lips and the edge of the face, and stay.
        float strength = abs(detail.r + detail.g + detail.b);
        float pore = soft.a * clamp(1.15 - strength * 2.6, 0.0, 1.0) * smoothing;
        color += detail * (sharpening * (1.0 - soft.a * 0.75) - pore * (0.92 + sharpening * 0.25));
        color += soft.a * glow * vec3(0.07, 0.035, 0.03) * (1.0 - color);
        gl_FragColor = vec4(color, 1.0);
    }
}
