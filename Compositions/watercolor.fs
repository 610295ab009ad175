/*{
    "LABEL": "Watercolour",
    "DESCRIPTION": "Pale washes that dry darker at their edges, on rough paper.",
    "CATEGORIES": ["Stylize"],
    "KEYWORDS": ["GPU"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "wash", "LABEL": "Wash", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "edges", "LABEL": "Dark edges", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "pigment", "LABEL": "Pigment", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "roughness", "LABEL": "Rough paper", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "paper", "LABEL": "Paper", "TYPE": "color", "DEFAULT": [0.99, 0.97, 0.92, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "sheet", "WIDTH": "$WIDTH", "HEIGHT": "$HEIGHT", "UNCHANGING": true, "FILTER": "NEAREST" },
        { "TARGET": "wet", "WIDTH": "$WIDTH * min(1, 135 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 135)" },
        { "TARGET": "washes", "WIDTH": "$WIDTH * min(1, 135 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 135)" },
        { }
    ]
}*/

flat in vec2 carried;

float lightOf(vec3 color)
{
    return dot(color, vec3(0.30, 0.59, 0.11));
}

float knot(vec2 cell)
{
    vec2 mixed = fract(cell * vec2(0.1271, 0.3117));
    mixed += dot(mixed, mixed.yx + 19.19);
    return fract((mixed.x + mixed.y) * mixed.x);
}

// Smooth bumps, one to a cell.
float bumps(vec2 at)
{
    vec2 cell = floor(at);
    vec2 into = at - cell;
    into *= into * (3.0 - 2.0 * into);
    return mix(mix(knot(cell), knot(cell + vec2(1.0, 0.0)), into.x),
        mix(knot(cell + vec2(0.0, 1.0)), knot(cell + vec2(1.0, 1.0)), into.x), into.y);
}

// Red and green: how far the water carries the colour. Blue: half of how much pigment gathers, in clouds and in
// the hollows of the paper. The fourth: the hollows, 0.5 for none.
vec4 layPaper(vec2 at)
{
    float tooth = 0.5 * bumps(at * 210.0) + 0.3 * bumps(at * 420.0 + 7.0) + 0.2 * bumps(at * 95.0);
    float clouds = 0.6 * bumps(at * 7.0 + 3.0) + 0.4 * bumps(at * 19.0);
    vec2 drift = vec2(bumps(at * 26.0), bumps(at * 26.0 + 40.0)) * 0.7 + 0.3 * vec2(bumps(at * 70.0 + 11.0), bumps(at * 70.0 + 23.0));
    float hollow = (0.55 - tooth) * roughness;
    return vec4(drift, 0.5 + 0.5 * (clouds - 0.5) * wash + 0.25 * hollow, hollow + 0.5);
}

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

// The calmest places around give their colour. What comes out is the light that the paint takes away: more where it is
// thick, and thickest at the edge of a wash.
vec4 spread(vec2 reach)
{
    vec4 sum = vec4(0.0);
    float calm = 0.0;
    for (int i = 0; i < 6; ++i) {
        float turn = float(i) * 1.0472;
        vec4 there = IMG_NORM_PIXEL(wet, isf_FragNormCoord + vec2(cos(turn), sin(turn)) * reach);
        float weight = 1.0 / (0.0008 + there.a * there.a);
        sum += there * weight;
        calm += weight;
    }
    vec3 color = sum.rgb / calm;
    color = mix(vec3(lightOf(color)), color, 1.25);
    float thick = 0.55 + 0.75 * pigment + clamp(IMG_THIS_PIXEL(wet).a * edges * 2.6, 0.0, 0.9);
    return vec4((1.0 - clamp(color, 0.0, 1.0)) * thick * 0.82, 1.0);
}

void main()
{
    vec2 unit = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) / 240.0;
    if (PASSINDEX == 0) {
        gl_FragColor = layPaper(isf_FragNormCoord * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0));
    } else if (PASSINDEX == 1) {
        gl_FragColor = soak(unit * (0.4 + wash));
    } else if (PASSINDEX == 2) {
        gl_FragColor = spread(unit * (0.6 + 2.4 * wash));
    } else {
        vec4 ground = IMG_THIS_PIXEL(sheet);
        vec3 absorbed = IMG_NORM_PIXEL(washes, isf_FragNormCoord + (ground.rg - 0.5) * carried).rgb;
        absorbed = absorbed * (2.0 * ground.b) + 0.06 * (ground.a - 0.5);
        gl_FragColor = vec4(paper.rgb * (1.0 - clamp(absorbed, 0.0, 0.96)), 1.0);
    }
}
