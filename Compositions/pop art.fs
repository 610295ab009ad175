/*{
    "LABEL": "Pop Art",
    "DESCRIPTION": "Four prints of you in four sets of inks, ready for the gallery.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "prints", "LABEL": "Prints in a row", "TYPE": "long", "VALUES": [1, 2, 3, 4], "LABELS": ["One", "Two", "Three", "Four"], "DEFAULT": 2 },
        { "NAME": "threshold", "LABEL": "Brightness", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.1, "MAX": 0.9 },
        { "NAME": "hardness", "LABEL": "Hard borders", "TYPE": "float", "DEFAULT": 0.7, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "offset", "LABEL": "Misprint", "TYPE": "float", "DEFAULT": 0.35, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "stencil", "WIDTH": "$WIDTH / $prints", "HEIGHT": "$HEIGHT / $prints", "FILTER": "NEAREST" },
        { "TARGET": "plates", "WIDTH": "64", "HEIGHT": "4", "FILTER": "NEAREST", "UNCHANGING": true },
        { }
    ]
}*/

float steepness()
{
    return 3.0 + hardness * hardness * 40.0;
}

vec4 cut()
{
    vec2 apart = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) / 400.0;
    vec3 sum = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(apart.x, -apart.y)).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(-apart.x, apart.y)).rgb;
    return vec4(vec3(dot(sum, vec3(0.075, 0.1475, 0.0275))), 1.0);
}

// One row for each print: its inks from dark to light, as far as the lightness calls for them. The first place holds the
// black plate's ink.
vec4 mixInks()
{
    vec2 cell = floor(isf_FragNormCoord * vec2(64.0, 4.0));
    vec3 dark = vec3(0.10, 0.05, 0.25), shade = vec3(0.85, 0.10, 0.45), light = vec3(1.0, 0.55, 0.45), ground = vec3(1.0, 0.90, 0.25);
    if (cell.y == 1.0) {
        dark = vec3(0.05, 0.10, 0.30), shade = vec3(0.0, 0.45, 0.65), light = vec3(1.0, 0.75, 0.55), ground = vec3(0.95, 0.30, 0.35);
    } else if (cell.y == 2.0) {
        dark = vec3(0.20, 0.05, 0.10), shade = vec3(0.95, 0.45, 0.05), light = vec3(1.0, 0.85, 0.35), ground = vec3(0.15, 0.70, 0.65);
    } else if (cell.y == 3.0) {
        dark = vec3(0.08, 0.15, 0.12), shade = vec3(0.35, 0.20, 0.65), light = vec3(0.95, 0.60, 0.80), ground = vec3(0.65, 0.85, 0.25);
    }
    float tone = cell.x / 63.0;
    vec3 color = mix(shade, light, clamp((tone - 0.46) * steepness() + 0.5, 0.0, 1.0));
    color = mix(color, ground, clamp((tone - 0.68) * steepness() + 0.5, 0.0, 1.0));
    return vec4(cell.x == 0.0 ? dark : color, 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = cut();
    } else if (PASSINDEX == 1) {
        gl_FragColor = mixInks();
    } else {
        vec2 tiles = isf_FragNormCoord * float(prints);
        vec2 tile = floor(tiles);
        vec2 place = tiles - tile;
        float row = fract((mod(tile.x + tile.y * 2.0, 4.0) + 0.5) * 0.25);
        float light = IMG_NORM_PIXEL(stencil, place).r + 0.5 - threshold;
        // The black plate never lies quite where the colours do.
        float lines = IMG_NORM_PIXEL(stencil, place + offset * vec2(0.008, -0.010)).r + 0.5 - threshold;
        vec3 black = IMG_NORM_PIXEL(plates, vec2(0.0, row)).rgb;
        vec3 color = IMG_NORM_PIXEL(plates, vec2(max(light, 0.02), row)).rgb;
        gl_FragColor = vec4(mix(black, color, clamp((lines - 0.26) * steepness() + 0.5, 0.0, 1.0)), 1.0);
    }
}
