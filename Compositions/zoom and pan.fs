/*{
    "LABEL": "Zoom and Pan",
    "DESCRIPTION": "Brings you nearer, by hand or slowly by itself as in a documentary.",
    "CATEGORIES": ["Utility"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "zoom", "LABEL": "Zoom", "TYPE": "float", "UNIT": "×", "DEFAULT": 1.4, "MIN": 1.0, "MAX": 5.0 },
        { "NAME": "middle", "LABEL": "Middle", "TYPE": "point2D", "DEFAULT": [0.5, 0.6], "MIN": [0.0, 0.0], "MAX": [1.0, 1.0] },
        { "NAME": "drift", "LABEL": "Slow movement", "TYPE": "float", "DEFAULT": 0.0, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "sharpness", "LABEL": "Sharpness", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.0, "MAX": 1.0 }
    ]
}*/

varying vec2 there;

void main()
{
    vec3 color = IMG_NORM_PIXEL(inputImage, there).rgb;
    // What a larger pixel lost in crispness comes back from the difference to its neighbours.
    vec2 apart = 0.8 / IMG_SIZE(inputImage);
    vec3 around = IMG_NORM_PIXEL(inputImage, there + apart).rgb + IMG_NORM_PIXEL(inputImage, there - apart).rgb;
    gl_FragColor = vec4(color + (color - 0.5 * around) * sharpness * 1.6, 1.0);
}
