/*{ "DESCRIPTION": "Beyond one and below nothing", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [ { "TARGET": "wide", "FLOAT": true }, { } ] }*/

void main() {
	if (PASSINDEX == 0) gl_FragColor = IMG_THIS_PIXEL(inputImage) * 8.0 - 4.0;
	else gl_FragColor = (IMG_THIS_PIXEL(wide) + 4.0) / 8.0;
}
