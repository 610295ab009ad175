/*{
    "LABEL": "Bokeh Blur",
    "DESCRIPTION": "You stay sharp while the room behind melts into discs of light.",
    "CATEGORIES": ["Light"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "face", "LABEL": "Focus", "TYPE": "point2D", "DEFAULT": [0.47, 0.62], "MIN": [0.0, 0.0], "MAX": [1.0, 1.0] },
        { "NAME": "radius", "LABEL": "Size of the focus", "TYPE": "float", "DEFAULT": 0.38, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "shoulders", "LABEL": "Shoulders in focus", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "blur", "LABEL": "Blur", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "sparkle", "LABEL": "Brightness of the discs", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "small", "WIDTH": "$WIDTH / 5", "HEIGHT": "$HEIGHT / 5" },
        { "TARGET": "discs", "WIDTH": "$WIDTH / 5", "HEIGHT": "$HEIGHT / 5" },
        { "TARGET": "filled", "WIDTH": "$WIDTH / 5", "HEIGHT": "$HEIGHT / 5" },
        { }
    ]
}*/

varying vec2 fromFace;

// 0 on the face and the shoulders below it, 1 behind.
float behind()
{
    // Below the face the shape widens as a head does into shoulders.
    float wider = 1.0 + shoulders * 1.6 * clamp(-fromFace.y - 0.55, 0.0, 1.2);
    vec2 place = vec2(fromFace.x / wider, fromFace.y > 0.0 ? fromFace.y * 0.85 : fromFace.y * (0.85 - 0.8 * shoulders));
    float away = clamp((length(place) - 0.72) * 1.9, 0.0, 1.0);
    return away * away * (3.0 - 2.0 * away);
}

// Bright places weigh more, so that they come out as discs. The weight travels in the fourth part.
vec4 weigh(vec4 color)
{
    float light = dot(color.rgb, vec3(0.30, 0.59, 0.11));
    float weight = 0.12 + 0.88 * sparkle * light * light * light + 0.25 * (1.0 - sparkle);
    return vec4(color.rgb * weight, weight);
}

// Fifteen places: the middle and two rings within the disc.
vec4 disc(vec2 reach)
{
    vec4 sum = IMG_THIS_PIXEL(small);
    for (int i = 0; i < 5; ++i) {
        float turn = float(i) * 1.2566;
        sum += IMG_NORM_PIXEL(small, isf_FragNormCoord + vec2(cos(turn), sin(turn)) * 0.5 * reach);
    }
    for (int i = 0; i < 9; ++i) {
        float turn = float(i) * 0.69813 + 0.3;
        sum += IMG_NORM_PIXEL(small, isf_FragNormCoord + vec2(cos(turn), sin(turn)) * reach);
    }
    return sum / 15.0;
}

// A second, smaller ring fills the gaps between the places of the first.
vec4 fill(vec2 reach, float away)
{
    vec4 sum = IMG_THIS_PIXEL(discs);
    for (int i = 0; i < 6; ++i) {
        float turn = float(i) * 1.0472;
        sum += IMG_NORM_PIXEL(discs, isf_FragNormCoord + vec2(cos(turn), sin(turn)) * reach);
    }
    return vec4(sum.rgb / max(sum.a, 0.02), away);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = weigh(IMG_THIS_PIXEL(inputImage));
    } else if (PASSINDEX == 1) {
        gl_FragColor = disc((0.003 + 0.027 * blur) * behind() * vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0));
    } else if (PASSINDEX == 2) {
        float away = behind();
        gl_FragColor = fill((0.001 + 0.011 * blur) * away * vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0), away);
    } else {
        vec4 room = IMG_THIS_PIXEL(filled);
        gl_FragColor = vec4(mix(IMG_THIS_PIXEL(inputImage).rgb, room.rgb, clamp(room.a * (0.2 + blur) * 9.0, 0.0, 1.0)), 1.0);
    }
}
