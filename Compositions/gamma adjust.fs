/*{
    "LABEL": "Gamma Adjust",
    "DESCRIPTION": "Lifts or lowers the middle tones and leaves black and white alone.",
    "CATEGORIES": ["Light"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "power", "LABEL": "Gamma", "TYPE": "float", "DEFAULT": 0.75, "MIN": 0.1, "MAX": 3.0 }
    ]
}*/

void main()
{
    vec4 color = IMG_THIS_PIXEL(inputImage);
    gl_FragColor = vec4(pow(color.rgb, vec3(power)), color.a);
}
