/*{ "DESCRIPTION": "Tint", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "tint", "TYPE": "color", "DEFAULT": [ 0.9, 0.4, 0.1, 1.0 ] }, { "NAME": "three", "TYPE": "color", "DEFAULT": [ 0.0, 0.1, 0.2 ] } ] }*/

const vec4 lumacoeff = vec4(0.2126, 0.7152, 0.0722, 0.0);
void main() {
	float luminance = dot(IMG_THIS_PIXEL(inputImage), lumacoeff);
	gl_FragColor = mix(three, tint, luminance);
}
