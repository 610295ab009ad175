/*{
    "LABEL": "Low Light",
    "DESCRIPTION": "Lifts a dim room into the light and lets the noise settle down over time.",
    "CATEGORIES": ["Light", "Time"],
    "KEYWORDS": ["GPU"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "lift", "LABEL": "Lift", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "calm", "LABEL": "Noise reduction", "TYPE": "float", "DEFAULT": 0.7, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "motion", "LABEL": "Sensitivity to motion", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "color", "LABEL": "Colour", "TYPE": "float", "DEFAULT": 1.1, "MIN": 0.0, "MAX": 2.0 }
    ],
    "PASSES": [ { "TARGET": "steady", "PERSISTENT": true, "FILTER": "NEAREST" }, { } ]
}*/

// The steady picture is kept after lifting: noise of the lifted shadows is what has to be calmed, and bytes are finer
// than it there.
void main()
{
    if (PASSINDEX == 1) {
        gl_FragColor = IMG_THIS_PIXEL(steady);
        return;
    }
    vec3 now = IMG_THIS_PIXEL(inputImage).rgb;
    float light = dot(now, vec3(0.30, 0.59, 0.11));
    // A hyperbola through black and white whose slope at black is the lift.
    float steep = 1.0 + lift * 9.0;
    float lifted = steep / (1.0 + (steep - 1.0) * (0.08 + light));
    now = (light + (now - light) * color) * lifted;
    vec3 before = IMG_THIS_PIXEL(steady).rgb;
    // What changes by more than the noise has moved, and is shown as it is.
    float change = abs(dot(now - before, vec3(1.0)));
    float moved = clamp(change * (2.0 + 6.0 * motion) - 0.35, 0.0, 1.0);
    gl_FragColor = vec4(mix(now, before, calm * 0.8 * (1.0 - moved)), 1.0);
}
