/*{
    "LABEL": "Kaleidoscope",
    "DESCRIPTION": "Mirrors in a tube turn you into a star of petals.",
    "CATEGORIES": ["Distort"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "mirrors", "LABEL": "Petals", "TYPE": "float", "DEFAULT": 6.0, "MIN": 3.0, "MAX": 16.0 },
        { "NAME": "speed", "LABEL": "Turns", "TYPE": "float", "UNIT": "/min", "DEFAULT": 2.0, "MIN": -20.0, "MAX": 20.0 },
        { "NAME": "zoom", "LABEL": "Zoom", "TYPE": "float", "UNIT": "×", "DEFAULT": 1.0, "MIN": 0.4, "MAX": 3.0 },
        { "NAME": "source", "LABEL": "What it looks at", "TYPE": "point2D", "DEFAULT": [0.45, 0.5], "MIN": [0.0, 0.0], "MAX": [1.0, 1.0] }
    ]
}*/

varying vec2 fromMiddle;
flat in vec4 firstFolds;
flat in vec4 lastFolds;
flat in vec4 turned;

// What lies beyond a mirror, whose normal this is, is thrown back.
#define FOLD(place, normal) place -= (2.0 * max(dot(place, normal), 0.0)) * (normal)

void main()
{
    // Along the middle of a wedge, and across it.
    vec2 petal = vec2(fromMiddle.x, abs(fromMiddle.y));
    FOLD(petal, firstFolds.xy);
    FOLD(petal, firstFolds.zw);
    FOLD(petal, lastFolds.xy);
    FOLD(petal, lastFolds.zw);
    vec2 there = source + petal.x * turned.xy + petal.y * turned.zw;
    // Beyond an edge, the picture turns back.
    there = 1.0 - abs(1.0 - abs(there));
    gl_FragColor = vec4(IMG_NORM_PIXEL(inputImage, there).rgb * (1.1 - 0.3 * petal.y), 1.0);
}
