/*{ "DESCRIPTION": "Words that were reserved later", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "filter", "TYPE": "float", "DEFAULT": 0.5 }, { "NAME": "smooth", "TYPE": "bool", "DEFAULT": true }, { "NAME": "input", "TYPE": "color", "DEFAULT": [ 1, 0.5, 0, 1 ] } ] }*/

struct half { vec3 common; float active; };
vec4 output(vec4 sample, float partition) { return sample * partition; }
void main() {
	half flat = half(vec3(filter), 0.5);
	vec4 buffer = IMG_THIS_PIXEL(inputImage), shared = vec4(1.0), patch = input;
	vec4 resource = output(buffer, flat.active) + vec4(flat.common, 0.0) * patch;
	gl_FragColor = smooth ? resource * shared : vec4(0.0);
}
