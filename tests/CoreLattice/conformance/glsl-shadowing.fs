/*{ "DESCRIPTION": "Inputs whose names serve elsewhere too", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "amount", "TYPE": "float", "DEFAULT": 0.5 }, { "NAME": "x", "TYPE": "float", "DEFAULT": 0.1 }, { "NAME": "rgb", "TYPE": "color", "DEFAULT": [ 1, 1, 0, 1 ] } ] }*/

struct Point { float x; vec3 rgb; };
float half_of(float amount) { return amount * 0.5; }
#define TWICE(x) ((x) + (x))
void main() {
	Point p = Point(x, rgb.rgb);
	for (int x = 0; x < 2; x++) p.x += 0.1;
	vec4 c = IMG_THIS_PIXEL(inputImage);
	gl_FragColor = vec4(c.rgb * half_of(TWICE(amount)) + p.rgb * p.x, 1.0);
}
