/*{
    "LABEL": "Levels",
    "DESCRIPTION": "Sets black, white and the middle of the picture, its colour and its warmth.",
    "CATEGORIES": ["Color", "Utility"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "black", "LABEL": "Black point", "TYPE": "float", "DEFAULT": 0.04, "MIN": 0.0, "MAX": 0.45 },
        { "NAME": "white", "LABEL": "White point", "TYPE": "float", "DEFAULT": 0.93, "MIN": 0.55, "MAX": 1.0 },
        { "NAME": "middle", "LABEL": "Middle tones", "TYPE": "float", "DEFAULT": 0.12, "MIN": -1.0, "MAX": 1.0 },
        { "NAME": "contrast", "LABEL": "Contrast curve", "TYPE": "float", "DEFAULT": 0.15, "MIN": -1.0, "MAX": 1.0 },
        { "NAME": "saturation", "LABEL": "Saturation", "TYPE": "float", "DEFAULT": 1.1, "MIN": 0.0, "MAX": 2.0 },
        { "NAME": "warmth", "LABEL": "Warmth", "TYPE": "float", "DEFAULT": 0.0, "MIN": -1.0, "MAX": 1.0 }
    ]
}*/

void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    color *= 1.0 + warmth * vec3(0.22, 0.02, -0.24);
    color = clamp((color - black) / (white - black), 0.0, 1.0);
    // Parabolas through black and white: the first moves the middle, the second bends it into an S.
    vec3 fromEnds = color * (1.0 - color);
    color += fromEnds * (middle * 1.0 + contrast * 1.9 * (color - 0.5));
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    gl_FragColor = vec4(mix(vec3(light), color, saturation), 1.0);
}
