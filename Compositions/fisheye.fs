/*{
    "LABEL": "Fisheye",
    "DESCRIPTION": "The world in a door's peephole: a big nose and a wide room.",
    "CATEGORIES": ["Distort"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "strength", "LABEL": "Strength", "TYPE": "float", "DEFAULT": 0.85, "MIN": -1.0, "MAX": 1.0 },
        { "NAME": "zoom", "LABEL": "Zoom", "TYPE": "float", "UNIT": "×", "DEFAULT": 1.0, "MIN": 0.6, "MAX": 2.0 },
        { "NAME": "circle", "LABEL": "Round picture", "TYPE": "bool", "DEFAULT": true },
        { "NAME": "middle", "LABEL": "Middle", "TYPE": "point2D", "DEFAULT": [0.5, 0.5], "MIN": [0.0, 0.0], "MAX": [1.0, 1.0] }
    ]
}*/

varying vec2 fromMiddle;
varying vec2 toPicture;

void main()
{
    float far = dot(fromMiddle, fromMiddle);
    // Away from the middle, places are taken from farther out (or nearer in), with the square of the distance.
    float bend = strength > 0.0 ? 1.0 - strength * 0.62 * (1.0 - far) : 1.0 - strength * 0.3 * (far - 1.0);
    vec2 there = middle + fromMiddle * max(bend, 0.06) * toPicture;
    vec3 color = IMG_NORM_PIXEL(inputImage, there).rgb;
    // The lens's rim, soft over two pixels, and its shade.
    float rim = clamp((1.0 - far) * RENDERSIZE.y * 0.2, 0.0, 1.0) * (1.0 - 0.35 * far * far);
    gl_FragColor = vec4(color * (circle ? rim : 1.0), 1.0);
}
