/*{ "DESCRIPTION": "A second picture that nobody gave", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "overlay", "TYPE": "image" } ] }*/

void main() {
	vec4 top = IMG_NORM_PIXEL(overlay, isf_FragNormCoord);
	vec4 bottom = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord);
	gl_FragColor = max(top, bottom) * (IMG_SIZE(overlay).x > 0.0 ? 1.0 : 0.5);
}
