/*{
    "LABEL": "Night Vision",
    "DESCRIPTION": "A tube that multiplies the little light there is: green, noisy and round.",
    "CATEGORIES": ["Light"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "gain", "LABEL": "Gain", "TYPE": "float", "UNIT": "×", "DEFAULT": 1.0, "MIN": 0.5, "MAX": 4.0 },
        { "NAME": "noise", "LABEL": "Noise", "TYPE": "float", "DEFAULT": 0.45, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "bloom", "LABEL": "Bloom", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "tube", "LABEL": "Round view", "TYPE": "float", "DEFAULT": 0.55, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "phosphor", "LABEL": "Phosphor", "TYPE": "color", "DEFAULT": [0.35, 1.0, 0.42, 1.0] }
    ],
    "PASSES": [ { "TARGET": "halo", "WIDTH": "$WIDTH / 8", "HEIGHT": "$HEIGHT / 8" }, { } ]
}*/

varying float seed;
varying vec2 fromMiddle;

// A coarse picture of the lights alone; smoothing on the way back makes halos of it.
vec4 lights()
{
    vec2 apart = vec2(0.6) / RENDERSIZE;
    vec3 sum = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(apart.x, -apart.y)).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(-apart.x, apart.y)).rgb;
    float light = dot(sum, vec3(0.095, 0.12, 0.035));
    return vec4(vec3(light * light), 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = lights();
        return;
    }
    // The tube sees red and near infrared best.
    float light = dot(IMG_THIS_PIXEL(inputImage).rgb, vec3(0.38, 0.48, 0.14));
    light = light * gain * (1.3 - 0.55 * light) * 0.75 + IMG_THIS_PIXEL(halo).r * bloom * 0.6;
    vec2 place = floor(isf_FragNormCoord * RENDERSIZE * 0.5);
    float spark = fract(52.9829189 * fract(dot(place, vec2(0.06711056, 0.00583715)) + seed));
    light += (spark - 0.5) * noise * (0.34 - 0.16 * light);
    float line = 0.93 + 0.07 * step(0.5, fract(place.y * 0.5));
    float far = dot(fromMiddle, fromMiddle);
    float seen = clamp(1.0 - max(far * far - 0.12, 0.0) * tube * 1.7, 0.0, 1.0) * line;
    vec3 color = phosphor.rgb * (light * 0.95 + 0.03) + max(light - 0.85, 0.0) * 0.9;
    gl_FragColor = vec4(color * seen, 1.0);
}
