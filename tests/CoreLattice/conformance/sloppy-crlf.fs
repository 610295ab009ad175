/*{ "DESCRIPTION": "Line ends of another system", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/
#define SHIFT(p) \
	IMG_NORM_PIXEL(inputImage, p + \
	vec2(0.1, 0.0))
void main() {
	// a comment
	gl_FragColor = SHIFT(isf_FragNormCoord);
}
