/*{
    "LABEL": "Tilt Shift",
    "DESCRIPTION": "A narrow band in focus makes the world look like a model of itself.",
    "CATEGORIES": ["Light"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "middle", "LABEL": "Height of the focus", "TYPE": "float", "DEFAULT": 0.56, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "width", "LABEL": "Width of the focus", "TYPE": "float", "DEFAULT": 0.3, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "tilt", "LABEL": "Tilt", "TYPE": "float", "UNIT": "°", "DEFAULT": 0.0, "MIN": -60.0, "MAX": 60.0 },
        { "NAME": "blur", "LABEL": "Blur", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "vivid", "LABEL": "Toy colours", "TYPE": "float", "DEFAULT": 0.4, "MIN": 0.0, "MAX": 1.0 }
    ],
    "PASSES": [
        { "TARGET": "across", "WIDTH": "$WIDTH / 4", "HEIGHT": "$HEIGHT / 4" },
        { "TARGET": "soft", "WIDTH": "$WIDTH / 4", "HEIGHT": "$HEIGHT / 4" },
        { }
    ]
}*/

varying float fromFocus;

// How far out of focus this place is, from 0 to 1.
float blurHere()
{
    float away = clamp((abs(fromFocus) - width * 0.5) * 2.6, 0.0, 1.0);
    return away * (2.0 - away);
}

#define STRIPE(image, step) (0.2 * (IMG_THIS_PIXEL(image).rgb \
    + IMG_NORM_PIXEL(image, isf_FragNormCoord + (step)).rgb + IMG_NORM_PIXEL(image, isf_FragNormCoord - (step)).rgb \
    + IMG_NORM_PIXEL(image, isf_FragNormCoord + (step) * 2.0).rgb + IMG_NORM_PIXEL(image, isf_FragNormCoord - (step) * 2.0).rgb))

void main()
{
    if (PASSINDEX < 2) {
        // Stripes that lean to either side make the blur a diamond rather than a square.
        float away = blurHere();
        float reach = away * blur * 0.012;
        float shape = RENDERSIZE.y / RENDERSIZE.x;
        if (PASSINDEX == 0)
            gl_FragColor = vec4(STRIPE(inputImage, vec2(reach * shape, reach * 0.6)), 1.0);
        else
            gl_FragColor = vec4(STRIPE(across, vec2(reach * shape, reach * -0.6)), away);
    } else {
        vec4 blurred = IMG_THIS_PIXEL(soft);
        vec3 color = mix(IMG_THIS_PIXEL(inputImage).rgb, blurred.rgb, clamp(blurred.a * blur * 9.0, 0.0, 1.0));
        float light = dot(color, vec3(0.30, 0.59, 0.11));
        color = mix(vec3(light), color, 1.0 + vivid * 0.8);
        gl_FragColor = vec4(mix(color, color * color * (3.0 - 2.0 * color), vivid * 0.6), 1.0);
    }
}
