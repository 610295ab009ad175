/*{
    "LABEL": "Echo",
    "DESCRIPTION": "Your last moments follow you as coloured ghosts.",
    "CATEGORIES": ["Time"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "delay", "LABEL": "Pictures between echoes", "TYPE": "float", "DEFAULT": 4.0, "MIN": 1.0, "MAX": 20.0 },
        { "NAME": "strength", "LABEL": "Strength", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "rainbow", "LABEL": "Coloured echoes", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "growing", "LABEL": "Growing echoes", "TYPE": "float", "DEFAULT": 0.15, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "third", "WIDTH": "$WIDTH * min(1, 180 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 180)", "PERSISTENT": true },
        { "TARGET": "second", "WIDTH": "$WIDTH * min(1, 180 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 180)", "PERSISTENT": true },
        { "TARGET": "first", "WIDTH": "$WIDTH * min(1, 180 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 180)", "PERSISTENT": true },
        { "TARGET": "ghosts", "WIDTH": "$WIDTH * min(1, 180 / $HEIGHT)", "HEIGHT": "min($HEIGHT, 180)" },
        { }
    ]
}*/

varying float hands;
varying vec3 growth;

void main()
{
    vec2 from = isf_FragNormCoord - 0.5;
    // Every few pictures each hands on what it has, the oldest first.
    if (PASSINDEX == 0) {
        gl_FragColor = hands > 0.5 ? IMG_THIS_PIXEL(second) : IMG_THIS_PIXEL(third);
    } else if (PASSINDEX == 1) {
        gl_FragColor = hands > 0.5 ? IMG_THIS_PIXEL(first) : IMG_THIS_PIXEL(second);
    } else if (PASSINDEX == 2) {
        gl_FragColor = hands > 0.5 ? IMG_THIS_PIXEL(inputImage) : IMG_THIS_PIXEL(first);
    } else if (PASSINDEX == 3) {
        vec3 colder = mix(vec3(1.0), vec3(0.25, 0.85, 1.25), rainbow);
        vec3 violet = mix(vec3(1.0), vec3(0.85, 0.35, 1.25), rainbow);
        vec3 warmer = mix(vec3(1.0), vec3(1.30, 0.40, 0.25), rainbow);
        gl_FragColor = vec4(max(max(IMG_NORM_PIXEL(first, from * growth.x + 0.5).rgb * colder * 0.85,
            IMG_NORM_PIXEL(second, from * growth.y + 0.5).rgb * violet * 0.72),
            IMG_NORM_PIXEL(third, from * growth.z + 0.5).rgb * warmer * 0.6), 1.0);
    } else {
        // Only what the echoes have more of than the picture is seen of them.
        vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
        vec3 echo = IMG_THIS_PIXEL(ghosts).rgb;
        gl_FragColor = vec4(mix(color, max(color * 0.8, echo), strength) + max(echo - color, 0.0) * strength * 0.3, 1.0);
    }
}
