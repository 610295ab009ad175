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
    "PASSES": [ { "TARGET": "trail", "PERSISTENT": true, "FILTER": "NEAREST" }, { } ]
}*/

varying vec3 kept;

void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    vec3 before = IMG_THIS_PIXEL(trail).rgb;
    if (PASSINDEX == 0) {
        // The trail sinks towards the picture, from above or from below; half a step more, or bytes would never arrive.
        vec3 above = dark ? 1.0 - color : color;
        gl_FragColor = vec4(max(above, before * kept - 0.003), 1.0);
    } else {
        vec3 trailed = dark ? 1.0 - before : before;
        gl_FragColor = vec4(mix(color, trailed, strength), 1.0);
    }
}
