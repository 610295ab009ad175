/*{
    "LABEL": "Glitch",
    "DESCRIPTION": "The signal breaks: blocks slip, colours part, and a moment later all is well.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "strength", "LABEL": "Strength", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "often", "LABEL": "How often", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "parting", "LABEL": "Parted colours", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "speed", "LABEL": "Changes", "TYPE": "float", "UNIT": "/s", "DEFAULT": 10.0, "MIN": 1.0, "MAX": 30.0 }
    ],
    "PASSES": [
        { "TARGET": "blocks", "WIDTH": "12", "HEIGHT": "45", "FILTER": "NEAREST" },
        { }
    ]
}*/

varying float seed;
varying float burst;

float roll(vec2 cell)
{
    vec2 mixed = fract(cell * vec2(0.1271, 0.3117) + seed);
    mixed += dot(mixed, mixed.yx + 19.19);
    return fract((mixed.x + mixed.y) * mixed.x);
}

// For each block: how far it slips (red), how far its colours part (green), whether it is inverted (blue).
vec4 breakBlock()
{
    vec2 cell = floor(isf_FragNormCoord * RENDERSIZE);
    // Rows slip together in bands of unequal height.
    float bandHeight = 1.0 + floor(roll(vec2(floor(cell.y / 9.0), 3.0)) * 6.0);
    float row = floor(cell.y / bandHeight);
    float slips = step(1.0 - 0.42 * burst, roll(vec2(row, 17.0)));
    float slip = (roll(vec2(row, 29.0)) - 0.5) * slips;
    float breaks = step(1.0 - 0.10 * burst, roll(cell + 41.0));
    slip += (roll(cell + 53.0) - 0.5) * breaks;
    float parts = 0.2 + slips * 0.8 * roll(vec2(row, 61.0)) + 0.25 * burst;
    return vec4(0.5 + slip * 0.5, clamp(parts, 0.0, 1.0), breaks * step(0.72, roll(cell + 71.0)), 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = breakBlock();
        return;
    }
    vec3 block = IMG_NORM_PIXEL(blocks, isf_FragNormCoord).rgb;
    vec2 there = isf_FragNormCoord + vec2((block.r - 0.5) * strength * 0.4, 0.0);
    // What slips over an edge comes in at the other one.
    there.x = fract(there.x);
    vec2 apart = vec2(block.g * parting * 0.022, 0.0);
    vec3 color = vec3(IMG_NORM_PIXEL(inputImage, there + apart).r, IMG_NORM_PIXEL(inputImage, there).g,
        IMG_NORM_PIXEL(inputImage, there - apart).b);
    gl_FragColor = vec4(mix(color, 1.0 - color.gbr, block.b * strength), 1.0);
}
