/*{
    "LABEL": "Colour Fringes",
    "DESCRIPTION": "A cheap lens splits the light towards the corners; a dreamy one everywhere.",
    "CATEGORIES": ["Light", "Distort"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "amount", "LABEL": "Amount", "TYPE": "float", "DEFAULT": 0.45, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "falloff", "LABEL": "Only towards the corners", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "angle", "LABEL": "Sideways", "TYPE": "float", "DEFAULT": 0.0, "MIN": -1.0, "MAX": 1.0 },
        { "NAME": "middle", "LABEL": "Middle", "TYPE": "point2D", "DEFAULT": [0.5, 0.5], "MIN": [0.0, 0.0], "MAX": [1.0, 1.0] }
    ]
}*/

void main()
{
    vec2 from = isf_FragNormCoord - middle;
    vec2 apart = from * mix(1.0, dot(from, from) * 3.0, falloff) * amount * 0.05 + vec2(angle * 0.015, 0.0);
    vec3 outer = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb;
    vec3 inner = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb;
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    // Two thirds of a spectrum in three readings: the outer ones also lend green a little.
    gl_FragColor = vec4(outer.r * 0.8 + color.r * 0.2, color.g * 0.7 + (outer.g + inner.g) * 0.15, inner.b * 0.8 + color.b * 0.2, 1.0);
}
