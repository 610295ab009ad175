/*{
    "LABEL": "Stained Glass",
    "DESCRIPTION": "A church window: pieces of glowing glass, held together by lead.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "rows", "LABEL": "Pieces to the height", "TYPE": "float", "DEFAULT": 42.0, "MIN": 8.0, "MAX": 70.0 },
        { "NAME": "lead", "LABEL": "Lead", "TYPE": "float", "DEFAULT": 0.28, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "depth", "LABEL": "Depth of the glass", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "saturation", "LABEL": "Colour", "TYPE": "float", "DEFAULT": 1.5, "MIN": 0.0, "MAX": 2.5 }
    ],
    "PASSES": [
        { "TARGET": "window", "WIDTH": "$WIDTH", "HEIGHT": "$HEIGHT", "UNCHANGING": true, "FILTER": "NEAREST" },
        { "TARGET": "soft", "WIDTH": "$WIDTH * min(1, 120 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 120)" },
        { }
    ]
}*/

vec2 roll(vec2 cell)
{
    vec3 mixed = fract(cell.xyx * vec3(0.1031, 0.1130, 0.0973));
    mixed += dot(mixed, mixed.yzx + 33.33);
    return fract((mixed.xx + mixed.yz) * mixed.zy);
}

// Every place belongs to the nearest of scattered points. Red and green: the way to that point. Blue: how far the
// border to the next piece is. The fourth: the piece's own brightness.
vec4 cut(vec2 place)
{
    vec2 nearest = vec2(8.0);
    vec2 dice = vec2(0.0);
    for (int i = 0; i < 9; ++i) {
        vec2 cell = floor(place) + vec2(float(i % 3), float(i / 3)) - 1.0;
        vec2 thrown = roll(cell);
        vec2 way = cell + 0.12 + 0.76 * thrown - place;
        if (dot(way, way) < dot(nearest, nearest)) {
            nearest = way;
            dice = thrown;
        }
    }
    float border = 8.0;
    for (int i = 0; i < 25; ++i) {
        vec2 cell = floor(place) + vec2(float(i % 5), float(i / 5)) - 2.0;
        vec2 way = cell + 0.12 + 0.76 * roll(cell) - place;
        vec2 between = way - nearest;
        if (dot(between, between) > 0.0001)
            border = min(border, dot(0.5 * (way + nearest), normalize(between)));
    }
    return vec4(nearest * 0.3 + 0.5, border, fract(dice.x * 7.0 + dice.y));
}

void main()
{
    float shape = RENDERSIZE.x / RENDERSIZE.y;
    if (PASSINDEX == 0) {
        gl_FragColor = cut(isf_FragNormCoord * vec2(shape, 1.0) * rows);
    } else if (PASSINDEX == 1) {
        gl_FragColor = IMG_THIS_PIXEL(inputImage);
    } else {
        vec4 piece = IMG_THIS_PIXEL(window);
        vec2 middle = isf_FragNormCoord + (piece.rg - 0.5) * vec2(1.0 / shape, 1.0) / (0.3 * rows);
        vec3 color = IMG_NORM_PIXEL(soft, middle).rgb;
        float light = dot(color, vec3(0.30, 0.59, 0.11));
        color = light + (color - light) * saturation;
        // Light falls through from behind: brighter towards the upper left of a piece, with streaks of its own.
        float slope = dot(piece.rg - 0.5, vec2(1.2, -1.6));
        color *= 1.0 + depth * (slope + (piece.a - 0.5) * 0.36) + 0.12 * depth;
        float glass = clamp((piece.b - lead * 0.13) * 22.0, 0.0, 1.0);
        // The lead's back catches a little light.
        gl_FragColor = vec4(mix(vec3(0.07, 0.07, 0.08) + max(slope, 0.0) * 0.2, color, glass), 1.0);
    }
}
