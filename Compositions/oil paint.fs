/*{
    "LABEL": "Oil Paint",
    "DESCRIPTION": "Short strokes of thick paint, laid over each other with a bristle brush.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "brush", "LABEL": "Brush size", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "relief", "LABEL": "Thickness of the paint", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "saturation", "LABEL": "Colour", "TYPE": "float", "DEFAULT": 1.35, "MIN": 0.0, "MAX": 2.0 }
    ],
    "PASSES": [
        { "TARGET": "strokes", "WIDTH": "$WIDTH", "HEIGHT": "$HEIGHT", "UNCHANGING": true, "FILTER": "NEAREST" },
        { "TARGET": "wet", "WIDTH": "$WIDTH * min(1, 160 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 160)" },
        { "TARGET": "daubs", "WIDTH": "$WIDTH * min(1, 160 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 160)", "FILTER": "NEAREST" },
        { }
    ]
}*/

vec3 roll(vec2 cell)
{
    vec3 mixed = fract(cell.xyx * vec3(0.1031, 0.1130, 0.0973));
    mixed += dot(mixed, mixed.yzx + 33.33);
    return fract((mixed.xxy + mixed.yzz) * mixed.zyx);
}

flat in vec2 toMiddle;

// The strokes of the whole canvas, which lie still. Red and green: the way to the place where the stroke took up its
// colour. Blue: light and shade of its bristles.
vec4 lay(vec2 at, float fineness)
{
    vec2 place = at * fineness;
    vec2 best = vec2(0.0);
    float bestHeight = -1.0;
    float bristles = 0.5;
    for (int i = 0; i < 25; ++i) {
        vec2 cell = floor(place) + vec2(float(i % 5), float(i / 5)) - 2.0;
        vec3 dice = roll(cell);
        vec2 toMiddle = cell + dice.xy - place;
        // Neighbouring strokes go much the same way, round slow curves.
        float angle = 2.2 * sin(cell.x * 0.09 + 1.3 * sin(cell.y * 0.07)) + 0.9 * cos(cell.y * 0.13) + (dice.z - 0.5) * 0.9;
        vec2 along = vec2(cos(angle), sin(angle));
        vec2 away = vec2(dot(toMiddle, along) / 1.6, dot(toMiddle, vec2(-along.y, along.x)) / 0.6);
        float ragged = roll(vec2(floor(away.y * 6.0), dice.z * 97.0)).x;
        float inside = step(abs(away.y), 1.0) * step(abs(away.x), 0.8 + 0.35 * ragged);
        float height = inside * (0.2 + fract(dice.z * 7.13 + dice.x));
        if (height > bestHeight) {
            bestHeight = height;
            best = toMiddle;
            // A stroke is thickest at its two rims; each bristle leaves a furrow.
            bristles = 0.5 + 0.30 * (ragged - 0.5) + 0.34 * away.y * away.y * away.y + (dice.x - 0.5) * 0.12;
        }
    }
    return vec4(best / fineness * 12.0 + 0.5, bristles, 1.0);
}

float lightOf(vec3 color)
{
    return dot(color, vec3(0.30, 0.59, 0.11));
}

// The mean colour around a place, and in the fourth part how much the lightness differs there.
vec4 soak(vec2 apart)
{
    vec3 a = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb;
    vec3 b = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb;
    vec3 c = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(apart.x, -apart.y)).rgb;
    vec3 d = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(-apart.x, apart.y)).rgb;
    vec4 lights = vec4(lightOf(a), lightOf(b), lightOf(c), lightOf(d));
    vec2 low = min(lights.xy, lights.zw);
    vec2 high = max(lights.xy, lights.zw);
    return vec4((a + b + c + d) * 0.25, max(high.x, high.y) - min(low.x, low.y));
}

// Every place takes the colour of the calmest places around it, so that strokes across an edge do not blur it.
vec4 daub(vec2 reach)
{
    vec4 sum = vec4(0.0);
    for (int i = 0; i < 5; ++i) {
        float turn = float(i) * 1.2566 + 0.35;
        vec4 there = IMG_NORM_PIXEL(wet, isf_FragNormCoord + vec2(cos(turn), sin(turn)) * reach);
        sum += vec4(there.rgb, 1.0) / (0.0004 + there.a * there.a * there.a);
    }
    vec3 color = sum.rgb / sum.a;
    return vec4(mix(vec3(lightOf(color)), color, saturation), 1.0);
}

void main()
{
    vec2 unit = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) / 360.0;
    if (PASSINDEX == 0) {
        gl_FragColor = lay(isf_FragNormCoord * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0), 190.0 - 120.0 * brush);
    } else if (PASSINDEX == 1) {
        gl_FragColor = soak(unit * 0.8);
    } else if (PASSINDEX == 2) {
        gl_FragColor = daub(unit * (1.4 + 1.6 * brush));
    } else {
        vec3 stroke = IMG_THIS_PIXEL(strokes).rgb;
        vec2 there = isf_FragNormCoord + (stroke.rg - 0.5) * toMiddle;
        vec3 color = IMG_NORM_PIXEL(daubs, there).rgb;
        gl_FragColor = vec4(color + (stroke.b - 0.5) * relief * (0.25 + color) * 0.6, 1.0);
    }
}
