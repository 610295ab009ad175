/*{ "DESCRIPTION": "A single pass that keeps its picture", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [ { "TARGET": "kept", "PERSISTENT": 1 } ] }*/

void main() {
	vec4 before = IMG_NORM_PIXEL(kept, fract(isf_FragNormCoord + vec2(0.25, 0.0)));
	gl_FragColor = FRAMEINDEX == 0 ? IMG_THIS_PIXEL(inputImage) : before;
	gl_FragColor.a = 1.0;
}
