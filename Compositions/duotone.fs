/*{
    "LABEL": "Duotone",
    "DESCRIPTION": "Two inks on paper, as on a concert poster.",
    "CATEGORIES": ["Color"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "darkInk", "LABEL": "Shadows", "TYPE": "color", "DEFAULT": [0.16, 0.06, 0.42, 1.0] },
        { "NAME": "lightInk", "LABEL": "Lights", "TYPE": "color", "DEFAULT": [1.0, 0.72, 0.42, 1.0] },
        { "NAME": "contrast", "LABEL": "Contrast", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "brightness", "LABEL": "Brightness", "TYPE": "float", "DEFAULT": 0.0, "MIN": -0.5, "MAX": 0.5 },
        { "NAME": "original", "LABEL": "Own colours", "TYPE": "float", "DEFAULT": 0.0, "MIN": 0.0, "MAX": 1.0 }
    ]
}*/

void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    float light = clamp(dot(color, vec3(0.30, 0.59, 0.11)) + brightness, 0.0, 1.0);
    // A soft S around the middle.
    light = mix(light, light * light * (3.0 - 2.0 * light), contrast * 1.4);
    vec3 inks = mix(darkInk.rgb, lightInk.rgb, light);
    // The very brightest is the paper's own white.
    inks += (1.0 - lightInk.rgb) * max(light - 0.8, 0.0) * 2.2;
    gl_FragColor = vec4(mix(inks, color, original), 1.0);
}
