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

flat in vec2 toMiddle;

#define TO_LIGHT vec2(1.2, -1.6)

vec2 roll(vec2 cell)
{
    vec3 mixed = fract(cell.xyx * vec3(0.1031, 0.1130, 0.0973));
    mixed += dot(mixed, mixed.yzx + 33.33);
    return fract((mixed.xx + mixed.yz) * mixed.zy);
}

// Every place belongs to the nearest of scattered points. Red and green: the way to that point. Blue: how much
// glass there is, or lead at the border to the next piece. The fourth: half of how brightly light falls through.
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
    // Light falls through from behind: brighter towards the upper left of a piece, with streaks of its own.
    vec2 way = nearest * 0.3;
    float brightness = 1.12 + dot(way, TO_LIGHT) + (fract(dice.x * 7.0 + dice.y) - 0.5) * 0.36;
    return vec4(way + 0.5, clamp((border - lead * 0.13) * 22.0, 0.0, 1.0), 0.5 * mix(1.0, brightness, depth));
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = cut(isf_FragNormCoord * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0) * rows);
    } else if (PASSINDEX == 1) {
        gl_FragColor = IMG_THIS_PIXEL(inputImage);
    } else {
        vec4 piece = IMG_THIS_PIXEL(window);
        vec2 middle = isf_FragNormCoord + (piece.rg - 0.5) * toMiddle;
        vec3 color = IMG_NORM_PIXEL(soft, middle).rgb;
        float light = dot(color, vec3(0.30, 0.59, 0.11));
        color = (light + (color - light) * saturation) * (2.0 * piece.a);
        // The lead's back catches a little light.
        float shine = max(dot(piece.rg - 0.5, TO_LIGHT), 0.0) * 0.2;
        gl_FragColor = vec4(mix(vec3(0.07, 0.07, 0.08) + shine, color, piece.b), 1.0);
    }
}
