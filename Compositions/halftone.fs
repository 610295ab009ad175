/*{
    "LABEL": "Halftone",
    "DESCRIPTION": "The rosettes of a colour magazine under the magnifying glass.",
    "CATEGORIES": ["Stylize"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "size", "LABEL": "Dots to the height", "TYPE": "float", "DEFAULT": 72.0, "MIN": 24.0, "MAX": 180.0 },
        { "NAME": "softness", "LABEL": "Soft dots", "TYPE": "float", "DEFAULT": 0.25, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "colors", "LABEL": "Inks", "TYPE": "long", "VALUES": [0, 1], "LABELS": ["Cyan, magenta, yellow", "Black"], "DEFAULT": 0 },
        { "NAME": "paper", "LABEL": "Paper", "TYPE": "color", "DEFAULT": [0.99, 0.97, 0.93, 1.0] }
    ],
    "PASSES": [ { "TARGET": "coarse", "WIDTH": "$WIDTH / 4", "HEIGHT": "$HEIGHT / 4", "FILTER": "NEAREST" }, { } ]
}*/

varying vec2 toPicture;
varying vec2 cyanPlace;
varying vec2 magentaPlace;
varying vec2 yellowPlace;
varying float sharpness;

// How much of this place one ink covers: the dot's size comes from the picture at the dot's own middle.
float covered(vec2 place, vec2 turn, vec3 ink)
{
    vec2 middle = floor(place) + 0.5;
    vec2 away = place - middle;
    vec2 there = vec2(middle.x * turn.x - middle.y * turn.y, middle.x * turn.y + middle.y * turn.x) * toPicture;
    float dark = 1.0 - dot(IMG_NORM_PIXEL(coarse, there).rgb, ink);
    // Full black needs dots that reach the corners of their cells.
    return clamp((dark * 0.56 - dot(away, away)) * sharpness + 0.5 * dark, 0.0, 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = IMG_THIS_PIXEL(inputImage);
    } else if (colors == 1) {
        float ink = covered(cyanPlace, vec2(0.7071, 0.7071), vec3(0.30, 0.59, 0.11));
        gl_FragColor = vec4(paper.rgb * (1.0 - 0.93 * ink), 1.0);
    } else {
        // The angles that printers use keep the three screens from making stripes together.
        float cyan = covered(cyanPlace, vec2(0.9659, 0.2588), vec3(1.0, 0.0, 0.0));
        float magenta = covered(magentaPlace, vec2(0.2588, 0.9659), vec3(0.0, 1.0, 0.0));
        float yellow = covered(yellowPlace, vec2(1.0, 0.0), vec3(0.0, 0.0, 1.0));
        vec3 color = paper.rgb * (1.0 - cyan * vec3(0.98, 0.28, 0.06)) * (1.0 - magenta * vec3(0.06, 0.92, 0.36));
        gl_FragColor = vec4(color * (1.0 - yellow * vec3(0.0, 0.04, 0.92)), 1.0);
    }
}
