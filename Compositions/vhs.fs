/*{
    "LABEL": "VHS",
    "DESCRIPTION": "A tape from the eighties: bleeding colours, shaky lines, a band of noise.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "bleeding", "LABEL": "Colour bleeding", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "jitter", "LABEL": "Shaky lines", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "noise", "LABEL": "Noise", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "tracking", "LABEL": "Bad tracking", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "fade", "LABEL": "Worn tape", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "lines", "WIDTH": "1", "HEIGHT": "240", "FILTER": "NEAREST" },
        { "TARGET": "chroma", "WIDTH": "$WIDTH / 8", "HEIGHT": "$HEIGHT / 2" },
        { }
    ]
}*/

varying float seed;
varying vec2 band;

float roll(float number)
{
    float mixed = fract(number * 0.1031 + seed);
    mixed *= mixed + 33.33;
    return fract(mixed * (mixed + mixed));
}

// For each line of the tape: how far it slips (red, 0.5 for not at all) and how much noise it has (green).
vec4 playLine()
{
    float line = floor(isf_FragNormCoord.y * RENDERSIZE.y);
    float inBand = max(0.0, 1.0 - abs(isf_FragNormCoord.y - band.x) * 14.0) * tracking;
    // The head switches at the lowest lines.
    float atFoot = max(0.0, 1.0 - isf_FragNormCoord.y * 26.0);
    float slip = (roll(line) - 0.5) * (jitter * 0.08 + inBand * 0.75) + atFoot * (0.25 * tracking + 0.1) * (0.5 + roll(7.0));
    slip += jitter * 0.05 * sin(isf_FragNormCoord.y * 5.0 + band.y);
    return vec4(0.5 + slip, clamp(inBand + atFoot * 0.4, 0.0, 1.0), 0.0, 1.0);
}

void main()
{
    vec2 at = isf_FragNormCoord;
    if (PASSINDEX == 0) {
        gl_FragColor = playLine();
        return;
    }
    vec2 line = IMG_NORM_PIXEL(lines, vec2(0.5, at.y)).rg;
    at.x += (line.r - 0.5) * 0.06;
    if (PASSINDEX == 1) {
        // Tapes keep a tenth of the colour's detail, and keep it late.
        gl_FragColor = 0.5 * (IMG_NORM_PIXEL(inputImage, at) + IMG_NORM_PIXEL(inputImage, at - vec2(0.004, 0.0)));
        return;
    }
    vec3 color = IMG_NORM_PIXEL(inputImage, at).rgb;
    vec3 late = IMG_NORM_PIXEL(chroma, isf_FragNormCoord - vec2(bleeding * 0.009, bleeding * 0.004)).rgb;
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    float lateLight = dot(late, vec3(0.30, 0.59, 0.11));
    // An edge overshoots: the recorder sharpened what it could not keep.
    light += (light - lateLight) * 0.22;
    color = light + mix(color - light, (late - lateLight) * 1.25, min(bleeding * 1.6, 1.0));
    float spark = fract(52.9829189 * fract(dot(floor(isf_FragNormCoord * RENDERSIZE * vec2(0.35, 0.5)), vec2(0.06711056, 0.00583715)) + seed));
    color += (spark - 0.5) * noise * 0.16 + step(0.90 - noise * 0.05, spark) * line.g * 0.75;
    color = color * (1.0 - fade * 0.22) + fade * vec3(0.075, 0.06, 0.095);
    gl_FragColor = vec4(color * (0.94 + 0.06 * step(0.5, fract(isf_FragNormCoord.y * 240.0))), 1.0);
}
