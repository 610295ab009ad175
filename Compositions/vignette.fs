/*{
    "LABEL": "Vignette",
    "DESCRIPTION": "Draws the eye to you: light in the middle, a soft frame of shade around it.",
    "CATEGORIES": ["Light"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "amount", "LABEL": "Amount", "TYPE": "float", "DEFAULT": 0.75, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "radius", "LABEL": "Size of the light", "TYPE": "float", "DEFAULT": 0.35, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "softness", "LABEL": "Softness", "TYPE": "float", "DEFAULT": 0.7, "MIN": 0.05, "MAX": 1.0 },
        { "NAME": "roundness", "LABEL": "Roundness", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "middle", "LABEL": "Middle", "TYPE": "point2D", "DEFAULT": [0.5, 0.5], "MIN": [0.0, 0.0], "MAX": [1.0, 1.0] },
        { "NAME": "shade", "LABEL": "Colour of the shade", "TYPE": "color", "DEFAULT": [0.02, 0.01, 0.04, 1.0] }
    ]
}*/

varying vec2 fromMiddle;

void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    float far = dot(fromMiddle, fromMiddle);
    float shaded = clamp((far - radius * radius) / (0.1 + softness), 0.0, 1.0);
    shaded = shaded * (2.0 - shaded) * amount;
    gl_FragColor = vec4(mix(color * (1.0 + 0.1 * amount * (1.0 - far)), shade.rgb, shaded), 1.0);
}
