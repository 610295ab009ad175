/*{
    "LABEL": "Water",
    "DESCRIPTION": "You stand at a lake in the evening and look at your reflection.",
    "CATEGORIES": ["Distort"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "level", "LABEL": "Water level", "TYPE": "float", "DEFAULT": 0.33, "MIN": 0.0, "MAX": 0.8 },
        { "NAME": "waves", "LABEL": "Waves", "TYPE": "float", "DEFAULT": 0.45, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "speed", "LABEL": "Speed", "TYPE": "float", "DEFAULT": 1.0, "MIN": 0.0, "MAX": 4.0 },
        { "NAME": "clear", "LABEL": "Clearness", "TYPE": "float", "DEFAULT": 0.65, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "tint", "LABEL": "Colour of the water", "TYPE": "color", "DEFAULT": [0.05, 0.22, 0.30, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "surface", "WIDTH": "$WIDTH / 8", "HEIGHT": "$HEIGHT / 2" },
        { }
    ]
}*/

// Where the water's slope sends the eye, sideways (red) and along the view (green), 0.5 for straight on; how murky it is
// (blue), and its glitter.
vec4 move()
{
    float depth = max(level - isf_FragNormCoord.y, 0.0);
    // Seen flatly, waves crowd towards the far shore.
    float away = 1.0 / (depth + 0.06);
    float across = (isf_FragNormCoord.x - 0.5) * away;
    float time = TIME * speed;
    float first = sin(away * 5.2 + time * 1.9 + across * 0.9);
    float second = sin(away * 8.7 - time * 1.3 - across * 2.1 + 1.0);
    float third = sin(away * 3.1 + across * 4.3 + time * 2.6);
    vec2 slope = vec2(second + third, first + 0.6 * second) * 0.25;
    // Nothing moves at the shore itself.
    slope *= waves * min(depth * 4.0 + 0.06, 0.5);
    float glitter = clamp(first * second * third * 4.0 - 2.6, 0.0, 1.0) * waves * 0.4;
    return vec4(0.5 + slope, clamp((1.0 - clear) * 0.75 + depth * 0.55, 0.0, 1.0), glitter);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = move();
        return;
    }
    vec4 water = IMG_THIS_PIXEL(surface);
    float depth = level - isf_FragNormCoord.y;
    float under = clamp(depth * RENDERSIZE.y, 0.0, 1.0);
    vec2 slope = (water.rg - 0.5) * vec2(0.11, 0.175) + vec2(0.0, 2.0 * depth);
    vec2 there = isf_FragNormCoord + slope * under;
    there.y = 1.0 - abs(1.0 - there.y);
    vec3 color = IMG_NORM_PIXEL(inputImage, there).rgb;
    vec3 reflected = mix(color * vec3(0.80, 0.92, 1.0), tint.rgb, water.b) + water.a;
    gl_FragColor = vec4(mix(color, reflected, under), 1.0);
}
