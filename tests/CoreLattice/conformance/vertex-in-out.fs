/*{ "DESCRIPTION": "Hands values on by the newer words", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "reach", "TYPE": "float", "DEFAULT": 0.1 } ] }*/

in vec2 left;
in vec2 right[2];
flat in int chosen;
void main() {
	vec4 sum = IMG_NORM_PIXEL(inputImage, left) + IMG_NORM_PIXEL(inputImage, right[0]) + IMG_NORM_PIXEL(inputImage, right[1]);
	gl_FragColor = chosen == 3 ? sum / 3.0 : vec4(1.0, 0.0, 0.0, 1.0);
}
