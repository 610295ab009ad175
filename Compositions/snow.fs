/*{
    "LABEL": "Snow",
    "DESCRIPTION": "Large quiet flakes fall between you and the camera.",
    "CATEGORIES": ["Overlay"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "amount", "LABEL": "Amount", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "speed", "LABEL": "Speed", "TYPE": "float", "DEFAULT": 1.0, "MIN": 0.0, "MAX": 4.0 },
        { "NAME": "wind", "LABEL": "Wind", "TYPE": "float", "DEFAULT": 0.25, "MIN": -1.0, "MAX": 1.0 },
        { "NAME": "cold", "LABEL": "Cold light", "TYPE": "float", "DEFAULT": 0.45, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "flake", "LABEL": "Colour of the flakes", "TYPE": "color", "DEFAULT": [1.0, 1.0, 1.0, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "flakes", "WIDTH": "$WIDTH * min(1, 270 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 270)" },
        { }
    ]
}*/

vec3 roll(vec2 cell)
{
    vec3 mixed = fract(cell.xyx * vec3(0.1031, 0.1130, 0.0973));
    mixed += dot(mixed, mixed.yzx + 33.33);
    return fract((mixed.xxy + mixed.yzz) * mixed.zyx);
}

// One curtain of flakes, at most one to a cell, each swinging on its own way down.
float curtain(vec2 at, float cells, float falls, float number)
{
    vec2 place = at * cells + vec2(-wind * falls * 0.7, falls) + number * 17.3;
    vec2 cell = floor(place);
    vec3 dice = roll(cell);
    vec2 middle = 0.28 + 0.44 * dice.xy;
    middle.x += 0.13 * sin(TIME * speed * (0.6 + dice.z) + dice.x * 6.28);
    vec2 away = place - cell - middle;
    float size = 0.05 + 0.11 * dice.z;
    float seen = step(dice.y * 0.7 + dice.z * 0.3, amount);
    // Near flakes are out of focus: large and soft.
    return seen * clamp((size - length(away)) * (26.0 / size) * 0.06 + 0.15, 0.0, 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        vec2 at = isf_FragNormCoord * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0);
        float falls = TIME * speed;
        float far = curtain(at, 17.0, falls * 1.7, 3.0) * 0.5;
        float middle = curtain(at, 9.0, falls * 1.5, 2.0) * 0.8;
        float near = curtain(at, 4.5, falls * 1.25, 1.0) * 0.85;
        gl_FragColor = vec4(vec3(1.0 - (1.0 - far) * (1.0 - middle) * (1.0 - near)), 1.0);
        return;
    }
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    color = mix(color, vec3(light) * vec3(0.88, 1.0, 1.18) * 0.6 + color * vec3(0.34, 0.40, 0.48), cold);
    gl_FragColor = vec4(mix(color, flake.rgb, IMG_THIS_PIXEL(flakes).r), 1.0);
}
