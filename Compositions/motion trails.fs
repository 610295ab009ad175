/*{
    "LABEL": "Motion Trails",
    "DESCRIPTION": "Whatever moves leaves its light behind, fading slowly into colour.",
    "CATEGORIES": ["Time"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "seconds", "LABEL": "Length", "TYPE": "float", "UNIT": "s", "DEFAULT": 0.8, "MIN": 0.05, "MAX": 5.0 },
        { "NAME": "strength", "LABEL": "Strength", "TYPE": "float", "DEFAULT": 0.75, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "dark", "LABEL": "Trails of what is dark", "TYPE": "bool", "DEFAULT": false },
        { "NAME": "tint", "LABEL": "Colour of the trails", "TYPE": "color", "DEFAULT": [0.72, 0.86, 1.0, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "trail", "WIDTH": "$WIDTH * min(1, 288 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 288)", "PERSISTENT": true, "FILTER": "NEAREST" },
        { "TARGET": "behind", "WIDTH": "$WIDTH * min(1, 288 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 288)" },
        { }
    ]
}*/

varying vec3 kept;
flat in float share;

void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    if (PASSINDEX == 2) {
        gl_FragColor = vec4(color + IMG_THIS_PIXEL(behind).rgb * share, 1.0);
        return;
    }
    vec3 before = IMG_THIS_PIXEL(trail).rgb;
    vec3 above = dark ? 1.0 - color : color;
    // The trail sinks towards the picture, from above or from below; half a step more, or bytes would never arrive. Only
    // what it has more than the picture is shown, so that a smaller one leaves what stands still as sharp as it is.
    gl_FragColor = vec4(PASSINDEX == 0 ? max(above, before * kept - 0.003) : before - above, 1.0);
}
