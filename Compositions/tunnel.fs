/*{
    "LABEL": "Tunnel",
    "DESCRIPTION": "You within yourself within yourself, coming nearer without an end.",
    "CATEGORIES": ["Distort", "Time"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "shrink", "LABEL": "Size of the next", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.25, "MAX": 0.85 },
        { "NAME": "speed", "LABEL": "Speed", "TYPE": "float", "DEFAULT": 0.25, "MIN": -2.0, "MAX": 2.0 },
        { "NAME": "depth", "LABEL": "Darkness of the depth", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "frame", "LABEL": "Frame", "TYPE": "color", "DEFAULT": [0.06, 0.05, 0.05, 1.0] }
    ]
}*/

varying vec2 logs;

void main()
{
    vec2 from = isf_FragNormCoord * 2.0 - 1.0;
    float far = max(max(abs(from.x), abs(from.y)), 0.001);
    // How many frames within each other this place lies, and how large the innermost of them is.
    float count = log2(far) / logs.x + logs.y;
    float whole = floor(count);
    float size = exp2((whole - logs.y) * logs.x);
    vec2 there = from / size;
    vec3 color = IMG_NORM_PIXEL(inputImage, there * 0.5 + 0.5).rgb;
    float border = max(abs(there.x), abs(there.y));
    float inFrame = clamp((border - 0.965) * 220.0, 0.0, 1.0);
    color = mix(color, frame.rgb, inFrame);
    gl_FragColor = vec4(color * (1.0 - depth * (1.0 - clamp(far * 1.5 + 0.1, 0.0, 1.0))), 1.0);
}
