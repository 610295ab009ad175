/*{
    "LABEL": "Slit Scan",
    "DESCRIPTION": "A line of light crosses the picture and freezes what it passes. Move while it does!",
    "CATEGORIES": ["Time"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "restart", "LABEL": "Start Again", "TYPE": "event" },
        { "NAME": "seconds", "LABEL": "Time for one way", "TYPE": "float", "UNIT": "s", "DEFAULT": 7.0, "MIN": 1.0, "MAX": 30.0 },
        { "NAME": "rest", "LABEL": "Time to look at it", "TYPE": "float", "UNIT": "s", "DEFAULT": 3.0, "MIN": 0.0, "MAX": 15.0 },
        { "NAME": "way", "LABEL": "Way", "TYPE": "long", "VALUES": [0, 1, 2, 3], "LABELS": ["Downwards", "Upwards", "To the right", "To the left"], "DEFAULT": 0 },
        { "NAME": "light", "LABEL": "Light", "TYPE": "color", "DEFAULT": [0.2, 0.85, 1.0, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "clock", "WIDTH": "1", "HEIGHT": "1", "PERSISTENT": true, "FLOAT": true, "FILTER": "NEAREST" },
        { "TARGET": "frozen", "PERSISTENT": true, "FILTER": "NEAREST" },
        { }
    ]
}*/

varying float along;
varying float place;
varying float present;

void main()
{
    if (PASSINDEX == 0) {
        // Seconds since the line set out.
        gl_FragColor = vec4(present, 0.0, 0.0, 1.0);
        return;
    }
    if (PASSINDEX == 1) {
        gl_FragColor = along < place ? IMG_THIS_PIXEL(frozen) : IMG_THIS_PIXEL(inputImage);
        return;
    }
    // A bright line in a halo; ahead of it only.
    float ahead = along - place;
    float glow = ahead < 0.0 ? 0.0 : clamp(1.0 - ahead * 9.0, 0.0, 1.0);
    float line = clamp(1.0 - abs(ahead) * 260.0, 0.0, 1.0);
    gl_FragColor = vec4(IMG_THIS_PIXEL(frozen).rgb + light.rgb * (glow * glow * 0.35 + line), 1.0);
}
