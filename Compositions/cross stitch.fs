/*{
    "LABEL": "Cross Stitch",
    "DESCRIPTION": "Embroidered by a patient hand: one little cross of wool for each spot of you.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "rows", "LABEL": "Stitches to the height", "TYPE": "float", "DEFAULT": 90.0, "MIN": 30.0, "MAX": 160.0 },
        { "NAME": "wools", "LABEL": "Shades of wool", "TYPE": "float", "DEFAULT": 9.0, "MIN": 2.0, "MAX": 16.0 },
        { "NAME": "relief", "LABEL": "Thickness of the wool", "TYPE": "float", "DEFAULT": 0.7, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "cloth", "LABEL": "Cloth", "TYPE": "color", "DEFAULT": [0.86, 0.82, 0.74, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "wool", "WIDTH": "floor($rows * $WIDTH / $HEIGHT)", "HEIGHT": "floor($rows)", "FILTER": "NEAREST" },
        { "TARGET": "crosses", "WIDTH": "$WIDTH", "HEIGHT": "$HEIGHT", "UNCHANGING": true, "FILTER": "NEAREST" },
        { }
    ]
}*/

// One colour for each stitch, out of a basket of few.
vec4 choose()
{
    vec2 apart = vec2(0.25) / RENDERSIZE;
    vec3 color = 0.25 * (IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord - apart).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(apart.x, -apart.y)).rgb
        + IMG_NORM_PIXEL(inputImage, isf_FragNormCoord + vec2(-apart.x, apart.y)).rgb);
    float light = dot(color, vec3(0.30, 0.59, 0.11));
    float shade = floor(light * wools + 0.5) / wools;
    return vec4(shade + (color - light) * 1.25, 1.0);
}

// Red: how bright the wool is here. Green: how much of the cloth shows.
vec4 stitch(vec2 at)
{
    vec2 place = fract(at) - 0.5;
    // Two threads across each other, the second on top. Along each runs its twist.
    vec2 along = vec2(place.x + place.y, place.x - place.y);
    float over = abs(along.y) * 2.6;
    float under = abs(along.x) * 2.6;
    float top = step(over, 0.8) * step(abs(along.x), 0.92);
    float bottom = step(under, 0.8) * step(abs(along.y), 0.92);
    float twist = 0.10 * sin((along.x + along.y * 0.6) * 34.0);
    float lightTop = 1.14 - over * over * 0.55 + twist - 0.22 * abs(along.x);
    // The lower thread lies in the upper one's shade where they meet.
    float lightBottom = 0.98 - under * under * 0.55 + 0.10 * sin((along.y - along.x * 0.6) * 34.0) - 0.35 * clamp(1.4 - over, 0.0, 1.0);
    float light = mix(lightBottom, lightTop, top);
    vec2 thread = fract(at * 2.0) - 0.5;
    float weave = 0.72 + 0.2 * (thread.x * thread.x + thread.y * thread.y);
    float bare = 1.0 - max(top, bottom);
    return vec4(mix(light, weave, bare) * 0.7, bare, 0.0, 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = choose();
    } else if (PASSINDEX == 1) {
        gl_FragColor = stitch(isf_FragNormCoord * vec2(floor(floor(rows) * RENDERSIZE.x / RENDERSIZE.y), floor(rows)));
    } else {
        vec2 thread = IMG_THIS_PIXEL(crosses).rg;
        vec3 color = mix(IMG_NORM_PIXEL(wool, isf_FragNormCoord).rgb, cloth.rgb, thread.g * relief);
        gl_FragColor = vec4(color * mix(1.0, thread.r * 1.4286, relief), 1.0);
    }
}
