/*{
    "LABEL": "Mirror",
    "DESCRIPTION": "One half of you, twice.",
    "CATEGORIES": ["Distort"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "kept", "LABEL": "What is mirrored", "TYPE": "long", "VALUES": [0, 1, 2, 3, 4], "LABELS": ["Left half", "Right half", "Upper half", "Lower half", "Upper left quarter"], "DEFAULT": 0 },
        { "NAME": "place", "LABEL": "Place of the mirror", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.1, "MAX": 0.9 }
    ]
}*/

varying vec2 fromMirror;
varying vec2 side;
varying vec2 mirror;

void main()
{
    // Where the mirror stands off the middle, its picture ends at the edge and turns back there.
    vec2 there = mirror + mix(fromMirror, abs(fromMirror) * side, abs(side));
    there = 1.0 - abs(1.0 - abs(there));
    gl_FragColor = IMG_NORM_PIXEL(inputImage, there);
}
