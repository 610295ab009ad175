/*{ "DESCRIPTION": "Leaves before it has written anything", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

void main() {
	if (gl_FragCoord.x < 20.0) return;
	gl_FragColor = IMG_THIS_PIXEL(inputImage);
	if (gl_FragCoord.x < 40.0) return;
	gl_FragColor.a = 0.0;
}
