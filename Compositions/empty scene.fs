/*{
    "LABEL": "Empty Scene",
    "DESCRIPTION": "Step aside, take the empty room, come back: only you are left, before a background of your choice.",
    "CATEGORIES": ["Utility"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "capture", "LABEL": "Take the Empty Room", "TYPE": "event" },
        { "NAME": "behind", "LABEL": "Background", "TYPE": "long", "VALUES": [0, 1, 2], "LABELS": ["Blurred room", "Colours", "Darkened room"], "DEFAULT": 0 },
        { "NAME": "tolerance", "LABEL": "Tolerance", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.02, "MAX": 1.0 },
        { "NAME": "softness", "LABEL": "Soft edge", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.05, "MAX": 1.0 },
        { "NAME": "top", "LABEL": "Colour above", "TYPE": "color", "DEFAULT": [0.16, 0.28, 0.52, 1.0] },
        { "NAME": "foot", "LABEL": "Colour below", "TYPE": "color", "DEFAULT": [0.86, 0.52, 0.42, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "room", "WIDTH": "$WIDTH * min(1, 144 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 144)", "PERSISTENT": true },
        { "TARGET": "change", "WIDTH": "$WIDTH * min(1, 144 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 144)" },
        { "TARGET": "person", "WIDTH": "$WIDTH * min(1, 144 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 144)" },
        { "TARGET": "smoothed", "WIDTH": "$WIDTH * min(1, 144 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 144)", "PERSISTENT": true },
        { }
    ]
}*/

// Four places around, which average what the camera's noise does to each.
#define CROSS(image, apart) (0.25 * (IMG_NORM_PIXEL(image, isf_FragNormCoord + (apart)) + IMG_NORM_PIXEL(image, isf_FragNormCoord - (apart)) \
    + IMG_NORM_PIXEL(image, isf_FragNormCoord + vec2((apart).x, -(apart).y)) + IMG_NORM_PIXEL(image, isf_FragNormCoord + vec2(-(apart).x, (apart).y))))

#define PAIR(image, apart) (0.5 * (IMG_NORM_PIXEL(image, isf_FragNormCoord + (apart)) + IMG_NORM_PIXEL(image, isf_FragNormCoord - (apart))))

// How far the picture is from the empty room: in colour more than in lightness, since a person's shadow only darkens.
float changed()
{
    vec3 now = CROSS(inputImage, vec2(0.3) / RENDERSIZE).rgb;
    vec3 then = IMG_THIS_PIXEL(room).rgb;
    vec3 difference = now - then;
    float light = dot(difference, vec3(0.30, 0.59, 0.11));
    vec3 tint = difference - light;
    float far = abs(light) * (light < 0.0 ? 0.7 : 1.0) + 1.5 * length(tint);
    return clamp((far - tolerance * 0.22) * 7.0, 0.0, 1.0);
}

varying float hasRoom;

void main()
{
    vec2 unit = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) / 180.0;
    if (PASSINDEX == 0) {
        // The fourth part says that there is a room.
        gl_FragColor = capture ? vec4(CROSS(inputImage, vec2(0.3) / RENDERSIZE).rgb, 1.0) : IMG_THIS_PIXEL(room);
    } else if (PASSINDEX == 1) {
        gl_FragColor = vec4(changed());
    } else if (PASSINDEX == 2) {
        // Holes within a person close when most of what is around is the person.
        float around = 0.4 * CROSS(change, unit * 2.0).a + 0.4 * CROSS(change, unit * 4.5).a + 0.2 * IMG_THIS_PIXEL(change).a;
        gl_FragColor = vec4(clamp((around - 0.38) * 3.2 + 0.5, 0.0, 1.0));
    } else if (PASSINDEX == 3) {
        // The mask follows in two or three pictures and does not flicker.
        float now = CROSS(person, unit * (0.4 + softness * 1.8)).a;
        float before = IMG_THIS_PIXEL(smoothed).a;
        vec3 backdrop = behind == 0 ? 0.6 * CROSS(room, unit * 9.0).rgb + 0.4 * PAIR(room, unit * vec2(14.0, 0.0)).rgb
            : behind == 1 ? mix(foot.rgb, top.rgb, isf_FragNormCoord.y) : IMG_THIS_PIXEL(room).rgb * vec3(0.20, 0.24, 0.34);
        // Before there is a room all is person, but for a frame that shows that something waits for it.
        vec2 fromEdge = min(isf_FragNormCoord, 1.0 - isf_FragNormCoord) / unit;
        float inside = step(2.0, min(fromEdge.x, fromEdge.y));
        gl_FragColor = hasRoom > 0.5 ? vec4(backdrop, mix(before, now, 0.6)) : vec4(top.rgb, inside);
    } else {
        vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
        vec4 backdrop = IMG_THIS_PIXEL(smoothed);
        gl_FragColor = vec4(mix(backdrop.rgb, color, backdrop.a), 1.0);
    }
}
