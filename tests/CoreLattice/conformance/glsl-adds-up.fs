/*{ "DESCRIPTION": "Adds to the output and sets its parts", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

vec4 half_of(vec4 c) { return c * 0.5; }
void main() {
	gl_FragColor += half_of(IMG_THIS_PIXEL(inputImage));
	gl_FragColor.g = 1.0 - gl_FragColor.g;
	if (gl_FragCoord.x > 32.0) gl_FragColor.rgb *= 0.5;
	gl_FragColor += half_of(IMG_NORM_PIXEL(inputImage, 1.0 - isf_FragNormCoord));
}
