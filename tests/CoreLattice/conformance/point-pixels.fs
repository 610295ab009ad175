/*{ "CREDIT": "Tovrin", "CATEGORIES": [ "Distortion Effect" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "shift", "TYPE": "point2D", "DEFAULT": [ 16, 8 ] } ] }*/

void main() {
	// pixels, as the first version of the format counts
	vec2 at = mod(gl_FragCoord.xy + shift, RENDERSIZE);
	gl_FragColor = IMG_PIXEL(inputImage, at);
}
