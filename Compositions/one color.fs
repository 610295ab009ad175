/*{
    "LABEL": "One Colour",
    "DESCRIPTION": "Only one colour stays, all the rest turns to black and white.",
    "CATEGORIES": ["Color"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "kept", "LABEL": "Colour that stays", "TYPE": "color", "DEFAULT": [0.95, 0.28, 0.08, 1.0] },
        { "NAME": "tolerance", "LABEL": "Tolerance", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.05, "MAX": 1.0 },
        { "NAME": "boost", "LABEL": "Strength of the colour", "TYPE": "float", "DEFAULT": 1.25, "MIN": 0.5, "MAX": 2.0 },
        { "NAME": "contrast", "LABEL": "Contrast of the rest", "TYPE": "float", "DEFAULT": 0.35, "MIN": 0.0, "MAX": 1.0 }
    ]
}*/

varying vec2 wanted;

void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    float light = dot(color, vec3(0.299, 0.587, 0.114));
    vec2 tint = vec2(color.b - light, color.r - light);
    // Along the wanted hue a colour may be as strong as it likes; beside it, it must be near. Greys have no hue.
    float along = dot(tint, wanted);
    float beside = abs(dot(tint, vec2(-wanted.y, wanted.x)));
    float stays = clamp((along - 0.03) * 14.0, 0.0, 1.0) * clamp((along * tolerance * 1.9 - beside) * 16.0 + 0.5, 0.0, 1.0);
    float rest = mix(light, light * light * (3.0 - 2.0 * light), contrast);
    gl_FragColor = vec4(mix(vec3(rest), light + (color - light) * boost, stays), 1.0);
}
