/*{
    "LABEL": "Pixel Sort",
    "DESCRIPTION": "Bright runs of pixels flow into long smooth streaks, dark ones stay.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "low", "LABEL": "Darkest to flow", "TYPE": "float", "DEFAULT": 0.36, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "high", "LABEL": "Brightest to flow", "TYPE": "float", "DEFAULT": 0.86, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "flow", "LABEL": "Flow", "TYPE": "float", "DEFAULT": 0.9, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "ragged", "LABEL": "Ragged ends", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "one", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "180", "FILTER": "NEAREST" },
        { "TARGET": "two", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "180", "FILTER": "NEAREST" },
        { "TARGET": "four", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "180", "FILTER": "NEAREST" },
        { "TARGET": "eight", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "180", "FILTER": "NEAREST" },
        { "TARGET": "sixteen", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "180", "FILTER": "NEAREST" },
        { "TARGET": "runs", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "180", "FILTER": "NEAREST" },
        { "TARGET": "streaks", "WIDTH": "$WIDTH * min(1, 360 / $HEIGHT)", "HEIGHT": "180", "FILTER": "NEAREST" },
        { }
    ]
}*/

#define STEP 255.0

// Whether this place flows: 1 in both directions, or 0.
vec4 begin()
{
    float light = dot(IMG_THIS_PIXEL(inputImage).rgb, vec3(0.30, 0.59, 0.11));
    // Each column has its own idea of where to begin.
    float column = fract(floor(isf_FragNormCoord.x * RENDERSIZE.x) * 0.7548776662) - 0.5;
    light += column * ragged * 0.22;
    return vec4(vec2(step(low, light) * step(light, high)) / STEP, 0.0, 1.0);
}

// How many places upwards (red) and downwards (green) flow without a gap, doubled: where all that were looked at do,
// those beyond count too.
#define DOUBLE(image, reach) \
    vec2 here = IMG_THIS_PIXEL(image).rg; \
    float above = IMG_NORM_PIXEL(image, isf_FragNormCoord + vec2(0.0, (reach) / RENDERSIZE.y)).r; \
    float below = IMG_NORM_PIXEL(image, isf_FragNormCoord - vec2(0.0, (reach) / RENDERSIZE.y)).g; \
    float inside = isf_FragNormCoord.y * RENDERSIZE.y; \
    here.r += above * step((reach) - 0.5, here.r * STEP) * step(inside + (reach), RENDERSIZE.y); \
    here.g += below * step((reach) - 0.5, here.g * STEP) * step((reach), inside); \
    gl_FragColor = vec4(here, 0.0, 1.0);

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = begin();
    } else if (PASSINDEX == 1) {
        DOUBLE(one, 1.0)
    } else if (PASSINDEX == 2) {
        DOUBLE(two, 2.0)
    } else if (PASSINDEX == 3) {
        DOUBLE(four, 4.0)
    } else if (PASSINDEX == 4) {
        DOUBLE(eight, 8.0)
    } else if (PASSINDEX == 5) {
        DOUBLE(sixteen, 16.0)
    } else if (PASSINDEX == 6) {
        vec2 run = IMG_THIS_PIXEL(runs).rg * STEP;
        // A sorted run goes smoothly from the colour at one end to that at the other.
        float total = max(run.r + run.g - 1.0, 1.0);
        vec3 top = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(0.0, (run.r - 1.0) / 180.0)).rgb;
        vec3 foot = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - vec2(0.0, (run.g - 1.0) / 180.0)).rgb;
        float place = run.g / total;
        vec3 sorted = mix(foot, top, place);
        gl_FragColor = vec4(sorted * (0.86 + 0.28 * place), flow * step(1.5, run.r + run.g));
    } else {
        vec4 streak = IMG_THIS_PIXEL(streaks);
        gl_FragColor = vec4(mix(IMG_THIS_PIXEL(inputImage).rgb, streak.rgb, streak.a), 1.0);
    }
}
