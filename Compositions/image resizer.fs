/*{
    "LABEL": "Image Resizer",
    "DESCRIPTION": "Brings the picture to another resolution and back.",
    "CATEGORIES": ["Utility"],
    "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "scale", "LABEL": "Scale", "TYPE": "float", "UNIT": "×", "DEFAULT": 0.5, "MIN": 0.02, "MAX": 1.0 }
    ],
    "PASSES": [ { "TARGET": "resized", "WIDTH": "max(1, $WIDTH * $scale)", "HEIGHT": "max(1, $HEIGHT * $scale)" }, { } ]
}*/

void main()
{
    if (PASSINDEX == 0)
        gl_FragColor = IMG_THIS_PIXEL(inputImage);
    else
        gl_FragColor = IMG_THIS_PIXEL(resized);
}
