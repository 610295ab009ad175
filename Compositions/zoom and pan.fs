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
    ],
    "PASSES": [
        { "TARGET": "around", "WIDTH": "$WIDTH / 3", "HEIGHT": "$HEIGHT / 3" },
        { }
    ]
}*/

varying vec2 there;

void main()
{
    if (PASSINDEX == 0) {
        vec2 apart = vec2(0.2) / RENDERSIZE;
        gl_FragColor = 0.5 * (IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart) + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart));
        return;
    }
    vec3 color = IMG_NORM_PIXEL(inputImage, there).rgb;
    // What a larger pixel lost in crispness comes back from the difference to what is around it.
    gl_FragColor = vec4(color + (color - IMG_NORM_PIXEL(around, there).rgb) * sharpness * 1.2, 1.0);
}
