/*{
    "LABEL": "Spotlight",
    "DESCRIPTION": "A stage light that follows the pointer over a darkened room.",
    "CATEGORIES": ["Light"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "inputX", "LABEL": "Pointer across", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "inputY", "LABEL": "Pointer upwards", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "radius", "LABEL": "Size", "TYPE": "float", "DEFAULT": 0.42, "MIN": 0.1, "MAX": 1.0 },
        { "NAME": "softness", "LABEL": "Soft edge", "TYPE": "float", "DEFAULT": 0.35, "MIN": 0.02, "MAX": 1.0 },
        { "NAME": "room", "LABEL": "Light in the room", "TYPE": "float", "DEFAULT": 0.22, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "lamp", "LABEL": "Lamp", "TYPE": "color", "DEFAULT": [1.0, 0.95, 0.84, 1.0] }
    ]
}*/

varying vec2 fromLamp;
varying float steepness;

void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    float far = length(fromLamp);
    float lit = clamp((1.0 - far) * steepness + 0.5, 0.0, 1.0);
    lit *= lit * (3.0 - 2.0 * lit);
    // The room is moonlit: less red than blue.
    vec3 dark = color * (room * vec3(0.62, 0.78, 1.1));
    vec3 bright = color * lamp.rgb * (1.32 - 0.3 * far);
    gl_FragColor = vec4(mix(dark, bright, lit) + lamp.rgb * lit * 0.03, 1.0);
}
