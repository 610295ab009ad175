/*{ "DESCRIPTION": "Three passes into one buffer", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [ { "TARGET": "work", "PERSISTENT": true }, { "TARGET": "work", "PERSISTENT": true }, { "TARGET": "work", "PERSISTENT": true }, { } ] }*/

void main() {
	if (PASSINDEX == 0) gl_FragColor = IMG_THIS_PIXEL(inputImage);
	else gl_FragColor = 0.5 * IMG_THIS_PIXEL(work) + 0.5 * IMG_NORM_PIXEL(work, fract(isf_FragNormCoord + vec2(0.0, 0.1)));
}
