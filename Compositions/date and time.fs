/*{
    "LABEL": "Date and Time",
    "DESCRIPTION": "The amber stamp that old cameras burnt into the corner.",
    "CATEGORIES": ["Overlay"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image", "FILTER": "NEAREST" },
        { "NAME": "form", "LABEL": "Shows", "TYPE": "long", "VALUES": [0, 1, 2], "LABELS": ["Date and time", "Date", "Time"], "DEFAULT": 0 },
        { "NAME": "order", "LABEL": "Date", "TYPE": "long", "VALUES": [0, 1, 2], "LABELS": ["2026-11-21", "21.11.2026", "11/21/2026"], "DEFAULT": 0 },
        { "NAME": "corner", "LABEL": "Corner", "TYPE": "long", "VALUES": [0, 1, 2, 3], "LABELS": ["Bottom right", "Bottom left", "Top right", "Top left"], "DEFAULT": 0 },
        { "NAME": "height", "LABEL": "Height", "TYPE": "float", "UNIT": "%", "DEFAULT": 5.0, "MIN": 2.0, "MAX": 15.0 },
        { "NAME": "glow", "LABEL": "Glow", "TYPE": "float", "DEFAULT": 0.6, "MIN": 0.0, "MAX": 1.0 },
        { "NAME": "lamp", "LABEL": "Colour", "TYPE": "color", "DEFAULT": [1.0, 0.58, 0.12, 1.0] }
    ],
    "PASSES": [
        { "TARGET": "text", "WIDTH": "480", "HEIGHT": "48" },
        { }
    ]
}*/

varying vec2 textPlace;

float segment(vec2 place, vec2 from, vec2 way)
{
    vec2 away = place - from;
    return length(away - way * clamp(dot(away, way) / dot(way, way), 0.0, 1.0));
}

// How far a place in a field of 1 by 2 is from the lit bars of a digit, which has seven of them and leans a little.
float digit(vec2 place, int value)
{
    // One bit for a bar: above, upper right, lower right, below, lower left, upper left, middle.
    const int bars[10] = int[10](63, 6, 91, 79, 102, 109, 125, 7, 127, 111);
    int lit = bars[value];
    place.x -= (place.y - 1.0) * 0.12;
    float far = 9.0;
    // Gaps between the bars let them be told apart.
    far = min(far, (lit & 1) != 0 ? segment(place, vec2(0.27, 1.8), vec2(0.46, 0.0)) : 9.0);
    far = min(far, (lit & 2) != 0 ? segment(place, vec2(0.8, 1.08), vec2(0.0, 0.64)) : 9.0);
    far = min(far, (lit & 4) != 0 ? segment(place, vec2(0.8, 0.28), vec2(0.0, 0.64)) : 9.0);
    far = min(far, (lit & 8) != 0 ? segment(place, vec2(0.27, 0.2), vec2(0.46, 0.0)) : 9.0);
    far = min(far, (lit & 16) != 0 ? segment(place, vec2(0.2, 0.28), vec2(0.0, 0.64)) : 9.0);
    far = min(far, (lit & 32) != 0 ? segment(place, vec2(0.2, 1.08), vec2(0.0, 0.64)) : 9.0);
    return min(far, (lit & 64) != 0 ? segment(place, vec2(0.27, 1.0), vec2(0.46, 0.0)) : 9.0);
}

// The sign between two numbers.
float mark(vec2 place, int which)
{
    if (which == 0)
        return segment(place, vec2(0.3, 1.0), vec2(0.4, 0.0));
    if (which == 1)
        return length(place - vec2(0.4, 0.15));
    if (which == 2)
        return segment(place, vec2(0.25, 0.2), vec2(0.45, 1.6));
    if (which == 3)
        return min(length(place - vec2(0.4, 0.6)), length(place - vec2(0.55, 1.4)));
    return 9.0;
}

int decimal(int number, int power)
{
    return (number / power) % 10;
}

// What stands at a place of "YYYY-MM-DD HH:MM:SS": a digit, or 10 and more for a mark.
int signAt(int place)
{
    int year = int(DATE.x), month = int(DATE.y), day = int(DATE.z), seconds = int(DATE.w);
    if (place == 10)
        return 14;
    if (place > 10) {
        int numbers[3] = int[3](seconds / 3600, (seconds / 60) % 60, seconds % 60);
        int at = place - 11;
        return at % 3 == 2 ? 13 : decimal(numbers[at / 3], at % 3 == 0 ? 10 : 1);
    }
    // The year comes first or last.
    bool first = order == 0;
    int at = first ? place - 5 : place;
    if (first ? place < 4 : place > 5) {
        int power = first ? 3 - place : 9 - place;
        return decimal(year, power == 3 ? 1000 : power == 2 ? 100 : power == 1 ? 10 : 1);
    }
    if (first ? place == 4 || place == 7 : place == 2 || place == 5)
        return 10 + order;
    int number = (at < 2) == (order == 1) ? day : month;
    return decimal(number, at % 3 == 0 ? 10 : 1);
}

vec4 write()
{
    int count = form == 0 ? 19 : form == 1 ? 10 : 8;
    // Written from the right, where the stamp keeps its distance from the edge.
    float along = isf_FragNormCoord.x * 20.0 - 0.5 - float(19 - count);
    int place = int(floor(along));
    float far = 9.0;
    if (place >= 0 && place < count) {
        int what = signAt(form == 2 ? place + 11 : place);
        vec2 inField = vec2(fract(along), isf_FragNormCoord.y * 2.9 - 0.45);
        far = what < 10 ? digit(inField, what) : mark(inField, what - 10);
    }
    float bar = clamp((0.10 - far) * 18.0 + 0.5, 0.0, 1.0);
    float halo = clamp(1.0 - far * 1.9, 0.0, 1.0);
    return vec4(bar, halo * halo * 0.7, 0.0, 1.0);
}

void main()
{
    if (PASSINDEX == 0) {
        gl_FragColor = write();
        return;
    }
    vec3 color = IMG_THIS_PIXEL(inputImage).rgb;
    // Outside of the text its empty border goes on.
    vec2 lit = IMG_NORM_PIXEL(text, textPlace).rg;
    color = mix(color, lamp.rgb, lit.r) + lamp.rgb * lit.g * glow * 0.8;
    gl_FragColor = vec4(color + lit.r * 0.12, 1.0);
}
