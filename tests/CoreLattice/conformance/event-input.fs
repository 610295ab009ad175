/*{ "DESCRIPTION": "Flash", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "flash", "TYPE": "event" } ] }*/

void main() {
	gl_FragColor = flash ? vec4(1.0) : IMG_THIS_PIXEL(inputImage).rrra;
}
