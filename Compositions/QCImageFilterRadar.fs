/*{
    "LABEL": "Radar",
    "DESCRIPTION": "A sweep of light paints you in phosphor, and what it painted glows on.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "speed", "LABEL": "Sweeps", "TYPE": "float", "UNIT": "/min", "DEFAULT": 15.0, "MIN": 0.0, "MAX": 60.0 },
        { "NAME": "afterglow", "LABEL": "Afterglow", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "ambient", "LABEL": "Picture between sweeps", "TYPE": "float", "DEFAULT": 0.65, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "gain", "LABEL": "Gain", "TYPE": "float", "UNIT": "×", "DEFAULT": 1.5, "MIN": 0.5, "MAX": 2.5 },
        { "NAME": "rings", "LABEL": "Rings", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "phosphor", "LABEL": "Phosphor", "TYPE": "color", "DEFAULT": [0.25, 1.0, 0.45, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "screen", "WIDTH": "$WIDTH / 2", "HEIGHT": "$HEIGHT / 2", "PERSISTENT": true, "FILTER": "NEAREST" },
        { }
    ]
}*/

varying vec2 beam;
varying float beamWidth;
varying float decay;

// The screen at half the size. Red: what the phosphor keeps, the picture as it was when the beam passed, fading. Green: the
// rings and the cross. Blue: how much of the light gets through, less towards the corners.
vec4 sweep(vec2 fromCenter)
{
    float light = dot(IMG_THIS_PIXEL(inputImage).rgb, vec3(0.30, 0.59, 0.11));
    float before = IMG_THIS_PIXEL(screen).r * decay - 0.004;
    float behind = dot(fromCenter, vec2(beam.y, -beam.x));
    float along = dot(fromCenter, beam);
    float under = step(0.0, behind) * step(behind, along * beamWidth);
    float kept = max(before, under * (light * 0.86 + 0.14));

    float far = length(fromCenter);
    float toRing = abs(fract(far * 6.0 + 0.5) - 0.5) / 6.0;
    float toLine = min(toRing, min(abs(fromCenter.x), abs(fromCenter.y)));
    float line = clamp(1.1 - toLine * RENDERSIZE.y, 0.0, 1.0);
    return vec4(kept, line * rings, 1.0 - 0.38 * far * far, 1.0);
}

vec4 drawScreen()
{
    float light = dot(IMG_THIS_PIXEL(inputImage).rgb, vec3(0.30, 0.59, 0.11));
    vec3 behind = IMG_THIS_PIXEL(screen).rgb;
    float seen = gain * light * (0.4 + 0.6 * light) * (ambient * 0.9 + behind.r * 1.1) + behind.r * 0.24;
    // Every other line is darker, as on a tube.
    float line = 0.85 + 0.15 * step(0.5, fract(isf_FragNormCoord.y * RENDERSIZE.y * 0.5));
    seen = seen * line * behind.b + behind.g * 0.45 + 0.018;
    // Bright phosphor bleaches towards white.
    return vec4(phosphor.rgb * seen + max(seen - 0.7, 0.0) * 0.9, 1.0);
}

void main()
{
    if (PASSINDEX == 0)
        gl_FragColor = sweep((isf_FragNormCoord - 0.5) * RENDERSIZE / RENDERSIZE.y);
    else
        gl_FragColor = drawScreen();
}
