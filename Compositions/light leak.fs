/*{
    "LABEL": "Light Leak",
    "DESCRIPTION": "Sun through the seams of an old camera drifts over the film.",
    "CATEGORIES": ["Light", "Overlay"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "amount", "LABEL": "Amount", "TYPE": "float", "DEFAULT": 0.75, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "speed", "LABEL": "Speed", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 2.0 },
        { "NAME": "warm", "LABEL": "Warm light", "TYPE": "color", "DEFAULT": [1.0, 0.42, 0.12, 1.0] },
        { "NAME": "cool", "LABEL": "Second light", "TYPE": "color", "DEFAULT": [0.9, 0.12, 0.42, 1.0] },
        { "NAME": "fade", "LABEL": "Faded film", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [ { "TARGET": "leak", "WIDTH": "$WIDTH / 16", "HEIGHT": "$HEIGHT / 16" }, { } ]
}*/

// Light has no edges here, so a few thousand places are enough for it.
vec4 shine()
{
    vec2 at = isf_FragNormCoord;
    float time = TIME * speed;
    float slow = sin(time * 0.9) + sin(time * 0.53 + 1.7);
    // A broad beam from the right edge, a streak that wanders, and a breath of the second light at the left.
    float beam = exp(-4.2 * max(0.0, 0.97 + 0.06 * slow - at.x) * (1.3 + 0.5 * sin(at.y * 3.0 + time)));
    float bent = at.x + 0.22 * at.y + 0.03 * sin(at.y * 7.0 + time * 1.3);
    float streak = exp(-170.0 * pow(fract(0.37 + time * 0.045) * 1.6 - 0.2 - bent, 2.0)) * (0.6 + 0.4 * sin(time * 0.7));
    vec2 corner = (at - vec2(-0.05, 0.9 + 0.1 * sin(time * 0.4))) * vec2(1.2, 0.9);
    float breath = exp(-7.0 * dot(corner, corner)) * (0.75 + 0.25 * sin(time * 0.6 + 2.0));
    vec3 light = warm.rgb * (beam + 0.55 * streak) + vec3(1.0, 0.9, 0.6) * beam * beam * 0.5 + cool.rgb * breath * 0.9;
    return vec4(light, 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = shine();
        return;
    }
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    color = color * (1.0 - fade * 0.22) + fade * vec3(0.10, 0.075, 0.09);
    vec3 light = IMG_THIS_PIXEL(leak).rgb * amount;
    // Between laying the light over the picture and burning the film with it.
    gl_FragColor = vec4(color + light - (0.55 * light.r + 0.2) * color * vec3(0.25, 0.85, 1.0) * light.r - 0.3 * light * color, 1.0);
}
