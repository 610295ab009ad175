/*{
    "LABEL": "Stop Motion",
    "DESCRIPTION": "A few pictures a second, each with a small flash, like a puppet film. Or stand quite still.",
    "CATEGORIES": ["Time"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "rate", "LABEL": "Pictures", "TYPE": "float", "UNIT": "/s", "DEFAULT": 5.0, "MIN": 0.2, "MAX": 15.0 },
        { "NAME": "freeze", "LABEL": "Freeze", "TYPE": "bool", "DEFAULT": false },
        { "NAME": "flash", "LABEL": "Flash", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "shake", "LABEL": "Unsteady hand", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "warmth", "LABEL": "Warm lamp", "TYPE": "float", "DEFAULT": 0.35, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "clock", "WIDTH": "1", "HEIGHT": "1", "PERSISTENT": true, "FLOAT": true, "FILTER": "NEAREST" },
        { "TARGET": "held", "PERSISTENT": true, "FILTER": "NEAREST" },
        { }
    ]
}*/

varying vec2 clockNow;
varying float brightness;
varying vec2 shift;

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = vec4(clockNow, 0.0, 1.0);
    } else if (PASSINDEX == 1) {
        // The clock stands at 0 in the moment of a new picture.
        gl_FragColor = clockNow.x <= 0.0 ? IMG_THIS_PIXEL(inputImage) : IMG_THIS_PIXEL(held);
    } else {
        vec3 color = IMG_NORM_PIXEL(held, isf_FragNormCoord * 0.985 + 0.0075 + shift).rgb;
        vec2 from = isf_FragNormCoord - 0.5;
        gl_FragColor = vec4(color * (brightness - dot(from, from) * 0.5) * (1.0 + warmth * vec3(0.14, 0.02, -0.2)), 1.0);
    }
}
