/*{
    "LABEL": "Sharpen",
    "DESCRIPTION": "Makes edges crisper.",
    "CATEGORIES": ["Utility"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "amount", "LABEL": "Sharpness", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 2.0 }
    ]
}*/

void main()
{
    vec2 step = 1.0 / RENDERSIZE;
    vec2 at = isf_FragNormCoord;
    vec4 color = IMG_NORM_PIXEL(inputImage, at);
    vec3 around = IMG_NORM_PIXEL(inputImage, at + vec2(step.x, 0.0)).rgb
        + IMG_NORM_PIXEL(inputImage, at - vec2(step.x, 0.0)).rgb
        + IMG_NORM_PIXEL(inputImage, at + vec2(0.0, step.y)).rgb
        + IMG_NORM_PIXEL(inputImage, at - vec2(0.0, step.y)).rgb;
    gl_FragColor = vec4(color.rgb + (color.rgb * 4.0 - around) * amount, color.a);
}
