/*{
    "LABEL": "Thermal",
    "DESCRIPTION": "Warm skin glows, cold walls fade: the view of a heat camera.",
    "CATEGORIES": ["Color"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "scale", "LABEL": "Colours", "TYPE": "long", "VALUES": [0, 1, 2, 3], "LABELS": ["Iron", "Rainbow", "White is hot", "Black is hot"], "DEFAULT": 0 },
        { "NAME": "gain", "LABEL": "Gain", "TYPE": "float", "UNIT": "×", "DEFAULT": 1.2, "MIN": 0.5, "MAX": 2.0 },
        { "NAME": "level", "LABEL": "Level", "TYPE": "float", "DEFAULT": 0.0, "MIN": -0.5, "MAX": 0.5 },
        { "NAME": "softness", "LABEL": "Softness", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "bar", "LABEL": "Show the scale", "TYPE": "bool", "DEFAULT": true }
    ],
    "PASSES": [
        { "TARGET": "sensor", "WIDTH": "$WIDTH / 4", "HEIGHT": "$HEIGHT / 4" },
        { "TARGET": "palette", "WIDTH": "256", "HEIGHT": "1", "FILTER": "NEAREST", "UNCHANGING": true },
        { }
    ]
}*/

// Skin is told from a wall by its red, which counts as heat up to as much as skin has.
float heatOf(vec3 color)
{
    return dot(color, vec3(0.10, 0.20, 0.04)) + 1.7 * clamp(color.r - color.b - 0.05, 0.0, 0.32);
}

// Heat sensors have few points, and each sees a little of its neighbours.
vec4 sense()
{
    vec2 apart = vec2(1.3) / RENDERSIZE;
    vec3 sum = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(apart.x, -apart.y)).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(-apart.x, apart.y)).rgb;
    return vec4(vec3(heatOf(sum * 0.25)), 1.0);
}

vec3 colorOf(float heat)
{
    if (scale == 1)
        return clamp(vec3(heat * 3.2 - 1.5, 1.5 - abs(heat * 3.2 - 1.75), 1.25 - abs(heat * 3.4 - 0.7)), 0.0, 1.0)
            + max(heat - 0.85, 0.0) * 4.0;
    if (scale == 2)
        return vec3(heat);
    if (scale == 3)
        return vec3(1.0 - heat);
    // Black, violet, red, orange, yellow, white.
    return clamp(vec3(2.15 * heat, 2.1 * heat - 0.82, 1.9 * heat * (0.9 - 2.2 * heat + heat * heat) + max(heat - 0.8, 0.0) * 4.4),
        0.0, 1.0) + vec3(0.0, 0.0, 0.06);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = sense();
    } else if (PASSINDEX == 1) {
        gl_FragColor = vec4(colorOf(isf_FragNormCoord.x), 1.0);
    } else {
        float heat = mix(heatOf(IMG_THIS_PIXEL(inputImage).rgb), IMG_THIS_PIXEL(sensor).r, softness);
        heat = clamp((heat - 0.45) * gain + 0.45 + level, 0.0, 0.998);
        // The scale at the right edge, a column of all heats in a thin dark frame.
        vec2 fromBar = (isf_FragNormCoord - vec2(0.965, 0.5)) / vec2(0.008, 0.36);
        float inside = float(bar) * step(max(abs(fromBar.x), abs(fromBar.y)), 1.0);
        heat = mix(heat, fromBar.y * 0.499 + 0.499, inside);
        gl_FragColor = IMG_NORM_PIXEL(palette, vec2(heat, 0.5));
    }
}
