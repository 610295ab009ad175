/*{
    "LABEL": "Hue Shift",
    "DESCRIPTION": "Turns all colours around the colour wheel, at once or slowly for ever.",
    "CATEGORIES": ["Color"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "angle", "LABEL": "Hue", "TYPE": "float", "UNIT": "°", "DEFAULT": 150.0, "MIN": -180.0, "MAX": 180.0 },
        { "NAME": "speed", "LABEL": "Turns", "TYPE": "float", "UNIT": "/min", "DEFAULT": 0.0, "MIN": 0.0, "MAX": 60.0 },
        { "NAME": "saturation", "LABEL": "Saturation", "TYPE": "float", "DEFAULT": 1.15, "MIN": 0.0, "MAX": 2.0 },
        { "NAME": "across", "LABEL": "Rainbow across the picture", "TYPE": "float", "DEFAULT": 0.0, "MIN": 0.0, "MAX": 1.0 }
    ]
}*/

varying vec2 turn;

// The wheel stands upright on the grey axis of the colours seen as light and two differences (Y, I and Q of the NTSC
// television system), so greys and lightness stay.
void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    float light = dot(color, vec3(0.299, 0.587, 0.114));
    vec2 tint = vec2(dot(color, vec3(0.596, -0.274, -0.322)), dot(color, vec3(0.211, -0.523, 0.312)));
    vec2 unit = normalize(turn) * saturation;
    tint = vec2(tint.x * unit.x - tint.y * unit.y, tint.x * unit.y + tint.y * unit.x);
    gl_FragColor = vec4(light + tint.x * vec3(0.956, -0.272, -1.106) + tint.y * vec3(0.621, -0.647, 1.703), 1.0);
}
