/*{ "DESCRIPTION": "One channel", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "channel", "LABEL": "Channel", "TYPE": "long", "VALUES": [ 0, 1, 2 ], "LABELS": [ "Red", "Green", "Blue" ], "DEFAULT": 1 } ] }*/

void main() {
	vec4 p = IMG_PIXEL(inputImage, gl_FragCoord.xy);
	float v = (channel == 0) ? p.r : ((channel == 1) ? p.g : p.b);
	gl_FragColor = vec4(vec3(v), p.a);
}
