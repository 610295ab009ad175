/*{ "DESCRIPTION": "Leaves pixels out", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

void main() {
	vec4 c = IMG_THIS_PIXEL(inputImage);
	if (mod(gl_FragCoord.x + float(FRAMEINDEX), 4.0) < 2.0) discard;
	gl_FragColor = c;
}
