/*{
    "LABEL": "ASCII",
    "DESCRIPTION": "You as an old terminal would have shown you, letter by letter.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "rows", "LABEL": "Rows of text", "TYPE": "float", "DEFAULT": 72.0, "MIN": 20.0, "MAX": 120.0 },
        { "NAME": "contrast", "LABEL": "Contrast", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "own", "LABEL": "Own colours", "TYPE": "float", "DEFAULT": 0.0, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "ink", "LABEL": "Letters", "TYPE": "color", "DEFAULT": [0.45, 1.0, 0.55, 1.0] },
        { "NAME": "ground", "LABEL": "Ground", "TYPE": "color", "DEFAULT": [0.02, 0.06, 0.04, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "letters", "WIDTH": "768", "HEIGHT": "64", "UNCHANGING": true },
        { "TARGET": "cells", "WIDTH": "floor($rows * $WIDTH / $HEIGHT * 1.3333)", "HEIGHT": "floor($rows)", "FILTER": "NEAREST" },
        { }
    ]
}*/

varying vec2 cellPlace;

// Signs from empty to full, 5 by 7 dots each, one bit for a dot, rows from the top and dots from the left: the upper four
// rows in the first number, the lower three in the second.
const ivec2 signs[16] = ivec2[16](
    ivec2(0x00000, 0x0000), ivec2(0x0000E, 0x0000), ivec2(0x00000, 0x018C), ivec2(0x00115, 0x0800),
    ivec2(0x03180, 0x3180), ivec2(0x20184, 0x108E), ivec2(0x0109F, 0x1080), ivec2(0x0022A, 0x1151),
    ivec2(0x003E0, 0x7C00), ivec2(0x001D1, 0x462E), ivec2(0x001C1, 0x3E2F), ivec2(0xCE444, 0x2273),
    ivec2(0x64A88, 0x564D), ivec2(0x7462E, 0x462E), ivec2(0x7463F, 0x4631), ivec2(0x52BEA, 0x7D4A));

// All signs side by side, each in a field of 6 by 8 dots.
vec4 engrave()
{
    ivec2 dotPlace = ivec2(isf_FragNormCoord * vec2(96.0, 8.0));
    ivec2 inField = ivec2(dotPlace.x % 6, 7 - dotPlace.y);
    ivec2 chosen = signs[dotPlace.x / 6];
    int row = inField.y < 4 ? chosen.x >> (15 - 5 * inField.y) : chosen.y >> (10 - 5 * (inField.y - 4));
    float lit = inField.x < 5 && inField.y < 7 ? float((row >> (4 - inField.x)) & 1) : 0.0;
    return vec4(vec3(lit), 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = engrave();
    } else if (PASSINDEX == 1) {
        // The colour of a letter's field, and in the fourth part which letter.
        vec2 apart = vec2(0.25) / RENDERSIZE;
        vec3 color = 0.5 * (IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb);
        float light = dot(color, vec3(0.30, 0.59, 0.11));
        light = mix(light, light * light * (3.0 - 2.0 * light), contrast * 1.5);
        gl_FragColor = vec4(color, floor(light * 15.99) / 16.0);
    } else {
        vec4 cell = IMG_NORM_PIXEL(cells, isf_FragNormCoord);
        vec2 place = fract(cellPlace);
        float lit = IMG_NORM_PIXEL(letters, vec2(floor(cell.a * 16.0 + 0.5) / 16.0 + place.x / 16.0, place.y)).r;
        // Letters of bright places shine brighter too.
        vec3 letter = mix(ink.rgb * (0.10 + 1.3 * cell.a * cell.a + 0.2 * cell.a), cell.rgb * 1.35 + 0.08, own);
        gl_FragColor = vec4(mix(ground.rgb + letter * cell.a * 0.28, letter, lit), 1.0);
    }
}
