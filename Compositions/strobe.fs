/*{
    "LABEL": "Strobe",
    "DESCRIPTION": "A dance floor: flashes hold you still, between them the coloured lights go on.",
    "CATEGORIES": ["Time", "Light"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "rate", "LABEL": "Flashes", "TYPE": "float", "UNIT": "/s", "DEFAULT": 1.6, "MIN": 0.2, "MAX": 3.0 },
        { "NAME": "strength", "LABEL": "Strength", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "hold", "LABEL": "Held picture", "TYPE": "float", "DEFAULT": 0.7, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "first", "LABEL": "First light", "TYPE": "color", "DEFAULT": [1.0, 0.15, 0.65, 1.0] },
        { "NAME": "second", "LABEL": "Second light", "TYPE": "color", "DEFAULT": [0.1, 0.45, 1.0, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "held", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 360)", "PERSISTENT": true },
        { }
    ]
}*/

flat in float taking;
flat in vec2 shares;
varying vec3 lamps;

// More than three flashes a second can harm people who are sensitive to them, so there is no setting for that, and a
// flash dies away instead of being cut off.
void main()
{
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    vec3 before = IMG_THIS_PIXEL(held).rgb;
    if (PASSINDEX == 0) {
        gl_FragColor = vec4(taking > 0.5 ? color : before, 1.0);
        return;
    }
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    gl_FragColor = vec4(color * shares.x + before * shares.y + lamps * ((0.25 + 1.15 * light) * light), 1.0);
}
