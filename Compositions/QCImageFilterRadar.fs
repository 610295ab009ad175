/*{
    "LABEL": "Radar",
    "DESCRIPTION": "A sweep of light paints you in phosphor, and what it painted glows on.",
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "speed", "LABEL": "Sweeps per minute", "TYPE": "float", "DEFAULT": 15.0, "MIN": 0.0, "MAX": 60.0 },
        { "NAME": "afterglow", "LABEL": "Afterglow", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "ambient", "LABEL": "Picture between sweeps", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "gain", "LABEL": "Gain", "TYPE": "float", "DEFAULT": 1.2, "MIN": 0.5, "MAX": 2.5 },
        { "NAME": "scale", "LABEL": "Rings", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "phosphor", "LABEL": "Phosphor", "TYPE": "color", "DEFAULT": [0.25, 1.0, 0.45, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "screen", "WIDTH": "$WIDTH / 2", "HEIGHT": "$HEIGHT / 2", "PERSISTENT": true, "FILTER": "NEAREST" },
        { }
    ]
}*/

varying vec2 beam;
varying float decay;

void main()
{
    vec2 at = isf_FragNormCoord;
    vec3 picture = IMG_THIS_PIXEL(inputImage).rgb;
    float light = dot(picture, vec3(0.30, 0.59, 0.11));
    vec2 fromCenter = (at - 0.5) * RENDERSIZE / RENDERSIZE.y;

    if (PASSINDEX == 0) {
        // How far the beam has turned since it was here: 0 under it, rising to 1 within a full turn.
        float across = dot(fromCenter, vec2(-beam.y, beam.x));
        float along = dot(fromCenter, beam);
        float under = along > 0.0 ? clamp(1.0 + across * 12.0, 0.0, 1.0) * step(across, 0.0) : 0.0;
        float glow = IMG_THIS_PIXEL(screen).r * decay - 0.0045;
        gl_FragColor = vec4(max(glow, under * (light * 0.9 + 0.1)));
    } else {
        float glow = IMG_THIS_PIXEL(screen).r;
        float far = length(fromCenter);
        float ring = step(fract(far * 6.0), 0.018) + step(abs(fromCenter.x), 0.0009) + step(abs(fromCenter.y), 0.0009);
        float seen = light * light * gain * (ambient + glow * 1.1) + glow * 0.28 + ring * scale * 0.22;
        // Every other line is darker, as on a tube.
        seen *= 0.86 + 0.14 * step(0.5, fract(at.y * RENDERSIZE.y * 0.5));
        // Bright phosphor bleaches towards white.
        vec3 color = phosphor.rgb * seen + max(seen - 0.75, 0.0) * 0.8;
        gl_FragColor = vec4(color * (1.05 - 0.45 * far * far) + phosphor.rgb * 0.018, 1.0);
    }
}
