/*{
    "LABEL": "Solarize",
    "DESCRIPTION": "The darkroom door opened too soon: lights turn over and edges shine.",
    "CATEGORIES": ["Color"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "threshold", "LABEL": "Turning point", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.2, "MAX": 1.0 },
        { "NAME": "silver", "LABEL": "Silver", "TYPE": "float", "DEFAULT": 0.9, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "contrast", "LABEL": "Contrast", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "tint", "LABEL": "Tint", "TYPE": "color", "DEFAULT": [1.0, 0.97, 0.92, 1.0] }
    ]
}*/

void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    color = mix(color, vec3(light), silver);
    // A tent: up to the turning point, and down again beyond it, brought back to full height.
    vec3 tent = threshold - abs(color - threshold);
    tent = clamp(tent / max(threshold, 0.25), 0.0, 1.0);
    tent = mix(tent, tent * tent * (3.0 - 2.0 * tent), contrast * 1.2);
    gl_FragColor = vec4(tent * tint.rgb, 1.0);
}
