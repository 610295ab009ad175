/*{
    "LABEL": "Thirds Grid",
    "DESCRIPTION": "Fine lines to compose by, a level cross and a frame for titles.",
    "CATEGORIES": ["Overlay", "Utility"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "kind", "LABEL": "Lines", "TYPE": "long", "VALUES": [0, 1, 2], "LABELS": ["Thirds", "Golden section", "Quarters"], "DEFAULT": 0 },
        { "NAME": "strength", "LABEL": "Strength", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "safe", "LABEL": "Frame for titles", "TYPE": "bool", "DEFAULT": false },
        { "NAME": "middle", "LABEL": "Cross in the middle", "TYPE": "bool", "DEFAULT": true },
        { "NAME": "ink", "LABEL": "Colour", "TYPE": "color", "DEFAULT": [1.0, 1.0, 1.0, 1.0] }
    ],
    "PASSES": [ { "TARGET": "lines", "FILTER": "NEAREST", "UNCHANGING": true }, { } ]
}*/

float thin(float away)
{
    return clamp(1.25 - abs(away), 0.0, 1.0);
}

// Red: the lines. Green: their shade, by which they are seen on white too.
vec4 rule()
{
    vec2 from = abs(isf_FragNormCoord - 0.5);
    vec2 away = (from - (kind == 0 ? 1.0 / 6.0 : kind == 1 ? 0.118 : 0.25)) * RENDERSIZE;
    if (kind == 2)
        away = min(abs(away), from * RENDERSIZE);
    vec2 pixels = from * RENDERSIZE;
    float scale = max(RENDERSIZE.y / 720.0, 0.5);
    float line = max(thin(away.x / scale), thin(away.y / scale));
    float near = min(abs(away.x), abs(away.y));
    if (middle) {
        float inCross = step(max(pixels.x, pixels.y), 16.0 * scale);
        line = max(line, inCross * max(thin(pixels.x / scale), thin(pixels.y / scale)));
        near = mix(near, min(near, min(pixels.x, pixels.y)), inCross);
    }
    if (safe) {
        vec2 frame = (from - 0.45) * RENDERSIZE;
        float edge = max(frame.x, frame.y);
        line = max(line, thin(edge / scale));
        near = min(near, abs(edge));
    }
    return vec4(line, clamp(1.0 - near / (4.0 * scale), 0.0, 1.0), 0.0, 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = rule();
        return;
    }
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    vec2 line = IMG_THIS_PIXEL(lines).rg * strength;
    gl_FragColor = vec4(mix(color * (1.0 - line.g * 0.4), ink.rgb, line.r), 1.0);
}
