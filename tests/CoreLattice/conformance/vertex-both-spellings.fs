/*{ "DESCRIPTION": "Spelt for two versions of the language", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "angle", "TYPE": "float", "DEFAULT": 0.125 } ] }*/

#if __VERSION__ <= 120
varying vec2 turned;
varying vec2 places[2];
#else
in vec2 turned;
in vec2 places[2];
#endif
void main() {
	gl_FragColor = IMG_NORM_PIXEL(inputImage, turned) * 0.75 + 0.25 * IMG_NORM_PIXEL(inputImage, places[1]);
}
