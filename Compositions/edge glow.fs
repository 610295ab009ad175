/*{
    "LABEL": "Edge Glow",
    "DESCRIPTION": "Neon tubes bent along every contour, glowing in the dark.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "sensitivity", "LABEL": "Sensitivity", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "glow", "LABEL": "Glow", "TYPE": "float", "DEFAULT": 0.7, "MIN": 0.0, "MAX": 1.5 },
        { "NAME": "room", "LABEL": "Picture behind", "TYPE": "float", "DEFAULT": 0.16, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "first", "LABEL": "Level edges", "TYPE": "color", "DEFAULT": [1.0, 0.15, 0.65, 1.0] },
        { "NAME": "second", "LABEL": "Upright edges", "TYPE": "color", "DEFAULT": [0.1, 0.75, 1.0, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "tubes", "WIDTH": "$WIDTH * min(1, 240 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 240)" },
        { "TARGET": "across", "WIDTH": "$WIDTH * min(1, 120 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 120)" },
        { "TARGET": "halo", "WIDTH": "$WIDTH * min(1, 120 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 120)" },
        { "TARGET": "lit", "WIDTH": "$WIDTH * min(1, 240 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 240)" },
        { }
    ]
}*/

float lightAt(vec2 at)
{
    return dot(IMG_NORM_PIXEL(inputImage, at).rgb, vec3(0.30, 0.59, 0.11));
}

// The slope of the lightness, coloured by its direction.
vec4 bend()
{
    vec2 apart = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) * (0.8 / 300.0);
    float a = lightAt(isf_FragNormCoord + apart);
    float b = lightAt(isf_FragNormCoord - apart);
    float c = lightAt(isf_FragNormCoord + vec2(apart.x, -apart.y));
    float d = lightAt(isf_FragNormCoord + vec2(-apart.x, apart.y));
    vec2 slope = abs(vec2(a + c - b - d, a + d - b - c));
    // Dark places need a smaller step than bright ones, as for the eye.
    float steep = (slope.x + slope.y) / (0.35 * (a + b + c + d) + 0.22);
    float lit = clamp((steep - 0.30 + 0.25 * sensitivity) * 2.6, 0.0, 1.0);
    vec3 color = (second.rgb * slope.x + first.rgb * slope.y) / (slope.x + slope.y + 0.002);
    return vec4(color * lit, lit);
}

// Four reads, each of which has two places in it.
#define BELL(image, step) ( \
    (IMG_NORM_PIXEL(image, isf_FragNormCoord + (step) * 0.8) + IMG_NORM_PIXEL(image, isf_FragNormCoord - (step) * 0.8)) * 0.4 \
    + (IMG_NORM_PIXEL(image, isf_FragNormCoord + (step) * 2.7) + IMG_NORM_PIXEL(image, isf_FragNormCoord - (step) * 2.7)) * 0.1)

void main()
{
    if (PASSINDEX == 0)
        gl_FragColor = bend();
    else if (PASSINDEX == 1)
        gl_FragColor = BELL(tubes, vec2(RENDERSIZE.y / RENDERSIZE.x, 0.0) / 130.0);
    else if (PASSINDEX == 2)
        gl_FragColor = BELL(across, vec2(0.0, 1.0 / 130.0));
    else if (PASSINDEX == 3) {
        // The core of a tube is nearly white.
        vec4 tube = IMG_THIS_PIXEL(tubes);
        gl_FragColor = vec4(IMG_THIS_PIXEL(halo).rgb * glow * 1.5 + tube.rgb + tube.a * tube.a * 0.45, 1.0);
    } else
        gl_FragColor = vec4(IMG_THIS_PIXEL(lit).rgb + IMG_THIS_PIXEL(inputImage).rgb * room * vec3(0.75, 0.75, 1.0), 1.0);
}
