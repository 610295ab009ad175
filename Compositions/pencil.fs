/*{
    "LABEL": "Pencil",
    "DESCRIPTION": "A drawing from life: fine contours, hatched shadows, the paper's grain.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "contours", "LABEL": "Contours", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "shading", "LABEL": "Hatching", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "crayon", "LABEL": "Coloured pencils", "TYPE": "float", "DEFAULT": 0.0, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "lead", "LABEL": "Lead", "TYPE": "color", "DEFAULT": [0.16, 0.16, 0.19, 1.0] },
        { "NAME": "paper", "LABEL": "Paper", "TYPE": "color", "DEFAULT": [0.97, 0.96, 0.93, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "strokes", "WIDTH": "$WIDTH", "HEIGHT": "$HEIGHT", "UNCHANGING": true, "FILTER": "NEAREST" },
        { "TARGET": "across", "WIDTH": "$WIDTH / 6", "HEIGHT": "$HEIGHT / 6" },
        { "TARGET": "around", "WIDTH": "$WIDTH / 6", "HEIGHT": "$HEIGHT / 6" },
        { }
    ]
}*/

float knot(vec2 cell)
{
    vec2 mixed = fract(cell * vec2(0.1271, 0.3117));
    mixed += dot(mixed, mixed.yx + 19.19);
    return fract((mixed.x + mixed.y) * mixed.x);
}

float bumps(vec2 at)
{
    vec2 cell = floor(at);
    vec2 into = at - cell;
    return mix(mix(knot(cell), knot(cell + vec2(1.0, 0.0)), into.x),
        mix(knot(cell + vec2(0.0, 1.0)), knot(cell + vec2(1.0, 1.0)), into.x), into.y);
}

// Hatching by hand: lines that wander and press unevenly. Red and green hold two directions, blue the paper's grain.
vec4 hatch(vec2 at)
{
    vec2 turned = vec2(at.x * 0.8 + at.y * 0.6, at.y * 0.8 - at.x * 0.6);
    float wander = bumps(at * 9.0) * 1.4 + bumps(at * 23.0) * 0.5;
    float first = 0.5 + 0.5 * sin((turned.y * 105.0 + wander) * 6.2831853);
    float second = 0.5 + 0.5 * sin((turned.x * 98.0 + wander) * 6.2831853);
    float pressure = 0.35 * bumps(vec2(turned.x * 7.0, floor(turned.y * 105.0 + wander) * 3.1)) + 0.3 * bumps(at * 300.0);
    return vec4(first * 0.7 + pressure, second * 0.7 + pressure, 0.6 * bumps(at * 340.0) + 0.4 * bumps(at * 160.0), 1.0);
}

#define BELL(image, step) (IMG_THIS_PIXEL(image) * 0.25 \
    + (IMG_NORM_PIXEL(image, isf_FragNormCoord + (step)) + IMG_NORM_PIXEL(image, isf_FragNormCoord - (step))) * 0.25 \
    + (IMG_NORM_PIXEL(image, isf_FragNormCoord + (step) * 2.3) + IMG_NORM_PIXEL(image, isf_FragNormCoord - (step) * 2.3)) * 0.125)

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = hatch(isf_FragNormCoord * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0));
    } else if (PASSINDEX == 1) {
        gl_FragColor = BELL(inputImage, vec2(RENDERSIZE.y / RENDERSIZE.x, 0.0) / 170.0);
    } else if (PASSINDEX == 2) {
        // The colour of the pencil for a place, and in the fourth part how light it is around there.
        vec3 soft = BELL(across, vec2(0.0, 1.0 / 170.0)).rgb;
        gl_FragColor = vec4(mix(lead.rgb, soft * soft, crayon), dot(soft, vec3(0.30, 0.59, 0.11)));
    } else {
        vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
        vec4 soft = IMG_THIS_PIXEL(around);
        vec3 grain = IMG_THIS_PIXEL(strokes).rgb;
        float light = dot(color, vec3(0.30, 0.59, 0.11));
        float mean = soft.a;
        // Where a place is darker than what is around it, the pencil drew a line.
        float line = clamp((1.0 - (light + 0.06) / (mean + 0.06)) * 3.6 * contours - 0.04, 0.0, 1.0);
        // Shadows are hatched once, deep ones crosswise.
        vec2 dark = clamp((vec2(0.66, 0.36) - mean - (1.0 - grain.rg) * 0.5) * vec2(2.3, 2.0), 0.0, 1.0);
        float drawn = line + (dark.x * 0.75 + dark.y * 0.6) * shading * 1.1;
        drawn = clamp(drawn * (0.72 + 0.56 * grain.b), 0.0, 0.94);
        drawn = mix(drawn, max(drawn, (1.0 - mean) * 0.75 * grain.r + 0.12 * grain.b), crayon);
        gl_FragColor = vec4(mix(paper.rgb - (grain.b - 0.5) * 0.04, soft.rgb, drawn), 1.0);
    }
}
