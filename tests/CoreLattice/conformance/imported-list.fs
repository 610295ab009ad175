/*{ "DESCRIPTION": "Brings a picture", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "IMPORTED": [ { "NAME": "stamp", "PATH": "stamp.png" } ] }*/

void main() {
	vec4 ink = IMG_NORM_PIXEL(stamp, isf_FragNormCoord);
	gl_FragColor = mix(IMG_THIS_PIXEL(inputImage), ink, ink.a * step(2.0, IMG_SIZE(stamp).x));
}
