/*{ "DESCRIPTION": "Chooses", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "mode", "TYPE": "long", "VALUES": [ 0, 1, 2 ], "LABELS": [ "A", "B", "C" ], "DEFAULT": 2 } ] }*/

vec3 pick(vec3 c, int m) {
	switch (m) {
	case 0: return c;
	case 1: return c.gbr;
	default: break;
	}
	return vec3(c.g > 0.5, c.r > 0.5, c.b > 0.5);
}
void main() { gl_FragColor = vec4(pick(IMG_THIS_PIXEL(inputImage).rgb, mode), 1.0); }
