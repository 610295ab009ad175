/*{
    "LABEL": "CRT",
    "DESCRIPTION": "An arcade's picture tube: curved glass, glowing lines, red, green and blue stripes.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "curve", "LABEL": "Curved glass", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "lines", "LABEL": "Lines", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "stripes", "LABEL": "Colour stripes", "TYPE": "float", "DEFAULT": 0.45, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "glow", "LABEL": "Glow", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "count", "LABEL": "Number of lines", "TYPE": "float", "DEFAULT": 180.0, "MIN": 90.0, "MAX": 360.0 }
    ],
    "PASSES": [
        { "TARGET": "halo", "WIDTH": "$WIDTH / 8", "HEIGHT": "$HEIGHT / 8" },
        { }
    ]
}*/

varying vec2 fromMiddle;
varying vec2 stripePlace;

void main()
{
    if (PASSINDEX == 0) {
        vec2 apart = vec2(0.3) / RENDERSIZE;
        vec2 other = vec2(apart.x, -apart.y);
        vec3 light = 0.25 * (IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb
            + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + other).rgb + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - other).rgb);
        gl_FragColor = vec4(light * light * glow * 0.45, 1.0);
        return;
    }
    // The glass bends most where both edges are near.
    vec2 from = fromMiddle + fromMiddle * fromMiddle.yx * fromMiddle.yx * curve * vec2(0.045, 0.075);
    vec2 there = from * 0.5 + 0.5;
    vec2 inside = clamp((1.0 - abs(from)) * 50.0, 0.0, 1.0);
    float shade = inside.x * inside.y * (1.14 - curve * 0.2 * dot(from, from));
    vec3 color = IMG_NORM_PIXEL(inputImage, there).rgb;
    // The beam's brightness across a line is a parabola; bright lines are thicker than dark ones.
    float across = fract(there.y * count) * 2.0 - 1.0;
    float line = 1.0 - lines * 0.85 * across * across * (1.0 - 0.55 * color.g);
    vec3 stripe = 1.0 - stripes * clamp(abs(fract(stripePlace.x) - vec3(0.167, 0.5, 0.833)) * 2.2 - 0.37, 0.0, 0.55);
    color = color * (0.5 + 0.42 * color) * stripe * (line * (1.0 + 0.34 * stripes + 0.3 * lines));
    gl_FragColor = vec4((color + IMG_NORM_PIXEL(halo, there).rgb) * shade, 1.0);
}
