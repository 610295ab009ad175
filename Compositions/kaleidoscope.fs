/*{
    "LABEL": "Kaleidoscope",
    "DESCRIPTION": "Mirrors in a tube turn you into a star of petals.",
    "CATEGORIES": ["Distort"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "mirrors", "LABEL": "Petals", "TYPE": "float", "DEFAULT": 6.0, "MIN": 3.0, "MAX": 16.0 },
        { "NAME": "speed", "LABEL": "Turns", "TYPE": "float", "UNIT": "/min", "DEFAULT": 2.0, "MIN": -20.0, "MAX": 20.0 },
        { "NAME": "zoom", "LABEL": "Zoom", "TYPE": "float", "UNIT": "×", "DEFAULT": 1.0, "MIN": 0.4, "MAX": 3.0 },
        { "NAME": "source", "LABEL": "What it looks at", "TYPE": "point2D", "DEFAULT": [0.45, 0.5], "MIN": [0.0, 0.0], "MAX": [1.0, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "petals", "WIDTH": "$WIDTH", "HEIGHT": "$HEIGHT", "UNCHANGING": true, "FILTER": "NEAREST" },
        { }
    ]
}*/

varying vec4 turned;

// From 0 to 3, in two parts of 8 bits: a buffer of floating point numbers takes the software driver twice as long to read.
vec2 parts(float number)
{
    float steps = floor(clamp(number, 0.0, 2.999) * (65536.0 / 3.0));
    float high = floor(steps / 256.0);
    return vec2(high, steps - high * 256.0) / 255.0;
}

// Where the mirrors throw each place: along the middle of a wedge, and across it.
vec4 fold()
{
    vec2 from = (isf_FragNormCoord - 0.5) * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0);
    float wedge = 6.2831853 / floor(mirrors + 0.5);
    float angle = mod(atan(from.y, from.x) + 0.5 * wedge, wedge) - 0.5 * wedge;
    float far = length(from) / zoom;
    return vec4(parts(cos(angle) * far), parts(abs(sin(angle)) * far));
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = fold();
        return;
    }
    vec4 stored = IMG_THIS_PIXEL(petals);
    vec2 petal = (stored.xz + stored.yw * (1.0 / 256.0)) * (255.0 * 3.0 / 256.0);
    vec2 there = source + petal.x * turned.xy + petal.y * turned.zw;
    // Beyond an edge, the picture turns back.
    there = 1.0 - abs(1.0 - abs(there));
    gl_FragColor = vec4(IMG_NORM_PIXEL(inputImage, there).rgb * (1.1 - 0.3 * petal.y), 1.0);
}
