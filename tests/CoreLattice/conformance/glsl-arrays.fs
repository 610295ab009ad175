/*{ "DESCRIPTION": "Lists of every kind", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

struct Light { vec2 place; vec3 color; };
const vec3 palette[4] = vec3[4](vec3(1.0, 0.0, 0.0), vec3(0.0, 1.0, 0.0), vec3(0.0, 0.0, 1.0), vec3(1.0));
const int order[] = int[](3, 1, 0, 2);
vec2 offsets[3];
float kernel[9] = float[9](1., 2., 1., 2., 4., 2., 1., 2., 1.);
float total(float list[9]) { float sum = 0.0; for (int i = 0; i < list.length(); i++) sum += list[i]; return sum; }
void fill(out vec2 list[3]) { for (int i = 0; i < 3; i++) list[i] = vec2(float(i), -float(i)); }
void main() {
	fill(offsets);
	vec4 c = vec4(0.0);
	for (int i = 0; i < 9; ++i)
		c += kernel[i] / total(kernel) * IMG_PIXEL(inputImage, gl_FragCoord.xy + vec2(i % 3 - 1, i / 3 - 1) + offsets[i % 3] * 0.5);
	Light lights[2];
	lights[0] = Light(vec2(0.2, 0.8), palette[order[0]]);
	lights[1] = Light(vec2(0.8, 0.2), palette[order[3]]);
	for (int i = 0; i < 2; i++) c.rgb += lights[i].color * max(0.0, 0.3 - distance(isf_FragNormCoord, lights[i].place));
	mat3 m = mat3(1.0);
	m[0][1] = 0.25;
	vec3 column = m[0];
	gl_FragColor = vec4(m * c.rgb * column.x, 1.0);
}
