/*{ "DESCRIPTION": "Brightness", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Color Adjustment" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "bright", "TYPE": "float", "MIN": -1.0, "MAX": 1.0, "DEFAULT": 0.2, "IDENTITY": 0.0 } ] }*/

void main() {
	vec4 srcPixel = IMG_THIS_PIXEL(inputImage);
	gl_FragColor = clamp(srcPixel + vec4(bright, bright, bright, 0.0), 0.0, 1.0);
}
