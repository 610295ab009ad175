/*{
    "LABEL": "Straighten",
    "DESCRIPTION": "Turns the picture level, puts its walls upright and cuts off what would be empty.",
    "CATEGORIES": ["Utility"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "angle", "LABEL": "Angle", "TYPE": "float", "UNIT": "°", "DEFAULT": 4.0, "MIN": -45.0, "MAX": 45.0 },
        { "NAME": "upright", "LABEL": "Leaning walls", "TYPE": "float", "DEFAULT": 0.0, "MIN": -1.0, "MAX": 1.0 },
        { "NAME": "sideways", "LABEL": "Seen from the side", "TYPE": "float", "DEFAULT": 0.0, "MIN": -1.0, "MAX": 1.0 },
        { "NAME": "crop", "LABEL": "Cut off empty corners", "TYPE": "bool", "DEFAULT": true },
        { "NAME": "guides", "LABEL": "Show guide lines", "TYPE": "bool", "DEFAULT": false }
    ]
}*/

varying vec2 from;
varying vec2 toPicture;

void main()
{
    // The farther side of a wall is smaller: a division by the distance puts it right.
    vec2 there = from / (1.0 + dot(from, vec2(sideways, upright)) * 0.28) * toPicture + 0.5;
    vec3 color = IMG_NORM_PIXEL(inputImage, there).rgb;
    vec2 inside = step(abs(there - 0.5), vec2(0.5));
    vec2 grid = step(abs(fract(isf_FragNormCoord * vec2(8.0, 6.0)) - 0.5), vec2(8.0, 6.0) / RENDERSIZE * 0.6);
    color = mix(color * inside.x * inside.y, vec3(1.0), guides ? max(grid.x, grid.y) * 0.45 : 0.0);
    gl_FragColor = vec4(color, 1.0);
}
