/*{
    "LABEL": "Bulge",
    "DESCRIPTION": "A magnifying bubble under the pointer: big eyes, a tiny chin, as you like.",
    "CATEGORIES": ["Distort"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "inputX", "LABEL": "Pointer across", "TYPE": "float", "DEFAULT": 0.41, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "inputY", "LABEL": "Pointer upwards", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "radius", "LABEL": "Size", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.05, "MAX": 1.0 },
        { "NAME": "strength", "LABEL": "Bulge or pinch", "TYPE": "float", "DEFAULT": 0.6, "MIN": -1.0, "MAX": 1.0 }
    ]
}*/

varying vec2 fromPointer;
varying vec2 toPicture;

void main()
{
    // Within the bubble places come from nearer to its middle; at its rim nothing moves, so no edge shows.
    float inside = max(1.0 - dot(fromPointer, fromPointer), 0.0);
    float pull = inside * inside * strength * 0.72;
    gl_FragColor = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - fromPointer * toPicture * pull);
}
