/*{
    "LABEL": "Hologram",
    "DESCRIPTION": "A flickering transmission from far away, projected into thin air.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "tint", "LABEL": "Light", "TYPE": "color", "DEFAULT": [0.35, 0.80, 1.0, 1.0] },
        { "NAME": "lines", "LABEL": "Lines", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "disturbance", "LABEL": "Disturbance", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "edges", "LABEL": "Shining edges", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "own", "LABEL": "Own colours", "TYPE": "float", "DEFAULT": 0.15, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "wave", "WIDTH": "1", "HEIGHT": "180", "FILTER": "NEAREST" },
        { }
    ]
}*/

varying float flicker;
varying float sweep;
varying float linePlace;

// For each line of the beam: how far it is put aside (red, 0.5 for not at all) and how bright it is (green).
vec4 disturb()
{
    float at = isf_FragNormCoord.y;
    float line = floor(at * RENDERSIZE.y);
    float dice = fract(sin(mod(line * 12.9898 + floor(TIME * 12.0) * 7.233, 6.2831853)) * 437.585);
    float torn = step(0.965, fract(floor(line / 7.0) * 0.7548776662 + floor(TIME * 7.0) * 0.3183));
    float aside = disturbance * (torn * (dice - 0.3) * 0.5 + 0.05 * sin(at * 19.0 + TIME * 5.0) * sin(at * 5.0 - TIME * 3.1));
    // A brighter band runs upwards.
    float band = max(0.0, 1.0 - abs(at - sweep) * 9.0);
    return vec4(0.5 + aside, 0.55 + 0.25 * band + 0.08 * dice, 0.0, 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = disturb();
        return;
    }
    vec2 line = IMG_NORM_PIXEL(wave, vec2(0.5, isf_FragNormCoord.y)).rg;
    vec2 there = isf_FragNormCoord + vec2((line.r - 0.5) * 0.12, 0.0);
    vec3 color = IMG_NORM_PIXEL(inputImage, there).rgb;
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    float edge = clamp((abs(dFdx(light)) + abs(dFdy(light))) * 3.0 - 0.08, 0.0, 1.0) * edges;
    vec3 beam = mix(tint.rgb * (light * 1.25 + 0.04), color, own) + tint.rgb * edge * 0.8;
    float gap = 1.0 - lines * step(0.5, fract(linePlace));
    gl_FragColor = vec4(beam * gap * line.g * flicker * 1.55 + max(light - 0.8, 0.0) * 0.4, 1.0);
}
