/*{
    "LABEL": "Green Screen",
    "DESCRIPTION": "Replaces a green (or any other) backdrop by a picture, a shot of the camera or a studio light.",
    "CATEGORIES": ["Utility"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "background", "LABEL": "Background", "TYPE": "image" },
        { "NAME": "screen", "LABEL": "Colour of the screen", "TYPE": "color", "DEFAULT": [0.1, 0.7, 0.2, 1.0] },
        { "NAME": "tolerance", "LABEL": "Tolerance", "TYPE": "float", "DEFAULT": 0.35, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "softness", "LABEL": "Soft edge", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.02, "MAX": 1.0 },
        { "NAME": "spill", "LABEL": "Remove the screen's shine", "TYPE": "float", "DEFAULT": 0.8, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "wall", "LABEL": "Studio wall", "TYPE": "color", "DEFAULT": [0.18, 0.30, 0.46, 1.0] },
        { "NAME": "look", "LABEL": "Show only what is cut out", "TYPE": "bool", "DEFAULT": false }
    ],
    "PASSES": [
        { "TARGET": "backdrop", "WIDTH": "$WIDTH * min(1, 288 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 288)" },
        { }
    ]
}*/

flat in vec4 key;
flat in vec2 keyWay;
flat in vec3 shine;
flat in float hasPicture;
varying vec2 fromLamp;
varying vec2 inPicture;

// The colour without its lightness, as the blue and red differences.
vec2 tintOf(vec3 color)
{
    return vec2(dot(color, vec3(-0.169, -0.331, 0.5)), dot(color, vec3(0.5, -0.419, -0.081)));
}

void main()
{
    if (PASSINDEX == 0) {
        vec3 studio = wall.rgb * (1.25 - 0.75 * dot(fromLamp, fromLamp));
        gl_FragColor = vec4(hasPicture > 0.5 ? IMG_NORM_PIXEL(background, inPicture).rgb : studio, 1.0);
        return;
    }
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    // What is nearer to the screen's tint than the tolerance goes.
    vec2 tint = tintOf(color);
    vec2 away = tint - key.xy;
    float covered = clamp((length(away) - key.z) * key.w, 0.0, 1.0);
    float along = max(dot(tint, keyWay), 0.0);
    // The screen's shine on hair and shoulders is taken away, and as much grey given for it.
    color += along * shine;
    gl_FragColor = vec4(look ? vec3(covered) : mix(IMG_THIS_PIXEL(backdrop).rgb, color, covered), 1.0);
}
