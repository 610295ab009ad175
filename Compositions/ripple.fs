/*{
    "LABEL": "Ripple",
    "DESCRIPTION": "Rings run over you as over a pond into which a stone fell.",
    "CATEGORIES": ["Distort"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "middle", "LABEL": "Where the stone fell", "TYPE": "point2D", "DEFAULT": [0.5, 0.42], "MIN": [0.0, 0.0], "MAX": [1.0, 1.0] },
        { "NAME": "height", "LABEL": "Height", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "rings", "LABEL": "Rings", "TYPE": "float", "DEFAULT": 9.0, "MIN": 2.0, "MAX": 30.0 },
        { "NAME": "speed", "LABEL": "Speed", "TYPE": "float", "DEFAULT": 1.0, "MIN": 0.0, "MAX": 4.0 },
        { "NAME": "calm", "LABEL": "Calm far away", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "shine", "LABEL": "Shine", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 }
    ]
}*/

varying vec2 fromStone;
flat in vec2 run;

void main()
{
    float far = length(fromStone);
    // Two parabolas to a wave are as smooth as a sine.
    float within = fract(far * run.x + run.y) * 2.0 - 1.0;
    float wave = within * (abs(within) - 1.0) * 4.0 * height / (1.0 + calm * 5.0 * far);
    // The slope bends the light outwards and inwards in turn.
    vec2 there = isf_FragNormCoord + fromStone / (far + 0.02) * (wave * 0.016);
    vec3 color = IMG_NORM_PIXEL(inputImage, there).rgb;
    // What looks up to the window shines.
    float glint = wave * (fromStone.y + 0.35 * far) / (far + 0.02);
    gl_FragColor = vec4(color * (1.0 + glint * shine * 0.35) + max(glint - 0.2, 0.0) * shine * 0.4, 1.0);
}
