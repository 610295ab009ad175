/*{
    "LABEL": "Exposure Adjust",
    "DESCRIPTION": "Makes the picture brighter or darker, as a longer or shorter exposure would.",
    "CATEGORIES": ["Light"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "stops", "LABEL": "Exposure", "TYPE": "float", "UNIT": "EV", "DEFAULT": 0.5, "MIN": -4.0, "MAX": 4.0 }
    ]
}*/

void main()
{
    vec4 color = IMG_THIS_PIXEL(inputImage);
    gl_FragColor = vec4(color.rgb * exp2(stops), color.a);
}
