/*{
    "LABEL": "Film Grain",
    "DESCRIPTION": "The living texture of fast film, strongest in the middle tones.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "amount", "LABEL": "Amount", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "size", "LABEL": "Grain size", "TYPE": "float", "DEFAULT": 1.6, "MIN": 1.0, "MAX": 4.0 },
        { "NAME": "colored", "LABEL": "Coloured grain", "TYPE": "float", "DEFAULT": 0.25, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "rate", "LABEL": "Grain pictures", "TYPE": "float", "UNIT": "/s", "DEFAULT": 24.0, "MIN": 0.0, "MAX": 30.0 }
    ],
    "PASSES": [
        { "TARGET": "emulsion", "WIDTH": "512", "HEIGHT": "512", "UNCHANGING": true, "FILTER": "NEAREST" },
        { }
    ]
}*/

varying vec2 grainScale;
varying vec2 grainShift;

vec3 speckle(vec2 at)
{
    vec3 mixed = fract(vec3(at.xyx) * vec3(0.1731, 0.1613, 0.1429));
    mixed += dot(mixed, mixed.yzx + 27.13);
    return fract((mixed.xxy + mixed.yzz) * mixed.zyx);
}

// Six throws of even dice make a bell, as the crystals of an emulsion do.
vec4 grow()
{
    vec2 at = floor(isf_FragNormCoord * RENDERSIZE);
    vec3 sum = vec3(0.0);
    for (int i = 0; i < 6; ++i)
        sum += speckle(at + float(i) * vec2(67.0, 131.0));
    return vec4(sum / 6.0, 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = grow();
        return;
    }
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    vec3 grain = IMG_NORM_PIXEL(emulsion, fract(isf_FragNormCoord * grainScale + grainShift)).rgb - 0.5;
    grain = mix(grain.ggg, grain, colored);
    // Clear film has no crystals left, and black film so many that they cover each other.
    float strength = amount * (0.22 + 3.2 * light * (1.0 - light));
    gl_FragColor = vec4(color + grain * strength, 1.0);
}
