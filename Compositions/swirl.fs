/*{
    "LABEL": "Swirl",
    "DESCRIPTION": "A whirl winds you up, and lets you go again.",
    "CATEGORIES": ["Distort"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "middle", "LABEL": "Middle", "TYPE": "point2D", "DEFAULT": [0.45, 0.52], "MIN": [0.0, 0.0], "MAX": [1.0, 1.0] },
        { "NAME": "turns", "LABEL": "Turn", "TYPE": "float", "UNIT": "°", "DEFAULT": 150.0, "MIN": -720.0, "MAX": 720.0 },
        { "NAME": "radius", "LABEL": "Size", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.1, "MAX": 1.2 },
        { "NAME": "swing", "LABEL": "Swings", "TYPE": "float", "UNIT": "/min", "DEFAULT": 0.0, "MIN": 0.0, "MAX": 60.0 }
    ]
}*/

varying vec2 fromMiddle;
varying vec2 toPicture;
varying float most;

void main()
{
    float inside = max(1.0 - dot(fromMiddle, fromMiddle), 0.0);
    float angle = most * inside * inside;
    vec2 turn = vec2(cos(angle), sin(angle));
    vec2 turned = vec2(fromMiddle.x * turn.x - fromMiddle.y * turn.y, fromMiddle.x * turn.y + fromMiddle.y * turn.x);
    gl_FragColor = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + (turned - fromMiddle) * toPicture);
}
