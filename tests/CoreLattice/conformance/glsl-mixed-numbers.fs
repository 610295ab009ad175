/*{ "DESCRIPTION": "Whole numbers where others are meant", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "steps", "TYPE": "long", "VALUES": [ 2, 4, 8 ], "LABELS": [ "2", "4", "8" ], "DEFAULT": 4 } ] }*/

const float k[3] = float[](1, 2, 1);
const vec2 grid[2] = vec2[2](vec2(0), vec2(1, 0.5));
float list[2];
void main() {
	float x = 1;
	vec3 c = IMG_THIS_PIXEL(inputImage).rgb;
	int n = int(max(1.0, float(steps)));
	list[0] = 0.5; list[1] = 1;
	for (int i = 0; i < 3; i++) x += k[i] * 0;
	c = floor(c * steps) / n;
	c = pow(c, vec3(1)) * clamp(x, 0, 1) + max(0, -1.0) + mod(4, 2);
	if (steps == 4.0 && n % 2 == 0) c.r *= list[0];
	gl_FragColor = vec4(c + vec3(grid[1], 0) * 0.1, 1);
}
