/*{
    "LABEL": "Cinema",
    "DESCRIPTION": "Teal shadows, golden skin and a wide screen: you in a feature film.",
    "CATEGORIES": ["Color"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "strength", "LABEL": "Teal and orange", "TYPE": "float", "DEFAULT": 0.75, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "contrast", "LABEL": "Contrast", "TYPE": "float", "DEFAULT": 0.45, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "saturation", "LABEL": "Colour", "TYPE": "float", "DEFAULT": 0.95, "MIN": 0.0, "MAX": 2.0 },
        { "NAME": "lift", "LABEL": "Lifted blacks", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "shape", "LABEL": "Screen width to height", "TYPE": "float", "DEFAULT": 2.2, "MIN": 1.0, "MAX": 2.8 }
    ]
}*/

varying float barHeight;

void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    color = mix(color, color * color * (3.0 - 2.0 * color), contrast);
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    color = mix(vec3(light), color, saturation);
    // Shadows towards teal, lights towards orange. Skin is warm by itself and gets the most of the latter.
    float warm = clamp((color.r - color.b) * 1.6, 0.0, 1.0);
    vec3 shadows = vec3(-0.13, 0.03, 0.10) * (1.0 - light) * (1.0 - warm);
    vec3 lights = vec3(0.10, 0.028, -0.085) * (0.35 * light + 0.65 * warm);
    color += (shadows + lights) * strength;
    color = color * (1.0 - lift * 0.08) + lift * vec3(0.028, 0.04, 0.05);
    float seen = step(abs(isf_FragNormCoord.y - 0.5), barHeight);
    gl_FragColor = vec4(color * seen, 1.0);
}
