/*{
    "LABEL": "Infrared",
    "DESCRIPTION": "Film that sees what eyes do not: leaves in pink, skies in ink, skin like porcelain.",
    "CATEGORIES": ["Color"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "leaves", "LABEL": "Leaves", "TYPE": "color", "DEFAULT": [1.0, 0.30, 0.52, 1.0] },
        { "NAME": "strength", "LABEL": "Strength", "TYPE": "float", "DEFAULT": 0.8, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "porcelain", "LABEL": "Pale skin", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "sky", "LABEL": "Dark skies", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 }
    ]
}*/

void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    // What is greener than it is red and blue is a leaf, and leaves shine in infrared.
    float leaf = clamp((color.g - 0.5 * (color.r + color.b)) * 7.0, 0.0, 1.0);
    float skin = clamp((color.r - color.b) * 2.6 - 0.15, 0.0, 1.0) * (1.0 - leaf);
    float blue = clamp((color.b - color.r) * 3.5, 0.0, 1.0) * (1.0 - leaf);
    // The film has three layers for infrared, red and green, which come out as red, green and blue.
    vec3 film = vec3(light * 1.06 + 0.02, mix(color.r, color.g, 0.5), mix(color.g, color.b, 0.6));
    film = mix(film, leaves.rgb * (light * 1.5 + 0.18), leaf);
    film = mix(film, vec3(1.02, 0.93, 0.90) * (0.3 + 0.78 * light), skin * porcelain);
    film *= 1.0 - blue * sky * vec3(0.72, 0.60, 0.38);
    gl_FragColor = vec4(mix(color, film, strength), 1.0);
}
