/*{ "DESCRIPTION": "A spot of light", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "center", "TYPE": "point2D", "DEFAULT": [ 0.25, 0.75 ], "MIN": [ 0, 0 ], "MAX": [ 1, 1 ] } ] }*/

void main() {
	float d = distance(isf_FragNormCoord * RENDERSIZE, center * RENDERSIZE) / RENDERSIZE.y;
	gl_FragColor = IMG_THIS_PIXEL(inputImage) * (1.0 - smoothstep(0.1, 0.5, d));
}
