/*{ "DESCRIPTION": "Functions of every shape", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

float shade(float x);
vec3 shade(vec3 c, const in float amount);
void turn(inout vec2 p, float angle) { p = mat2(cos(angle), -sin(angle), sin(angle), cos(angle)) * p; }
void parts(in vec3 c, out float light, out vec3 rest) { light = dot(c, vec3(0.299, 0.587, 0.114)); rest = c - light; }
highp float luma(lowp vec3 c) { return dot(c, vec3(1.0 / 3.0)); }
float clamp01(float x) { return clamp(x, 0.0, 1.0); }
vec2 clamp01(vec2 x) { return clamp(x, 0.0, 1.0); }
float smoothstep(float x) { return x * x * (3.0 - 2.0 * x); }
void main(void) {
	vec2 p = isf_FragNormCoord - vec2(0.5);
	turn(p, 0.5);
	float light;
	vec3 rest;
	parts(IMG_NORM_PIXEL(inputImage, clamp01(p + 0.5)).rgb, light, rest);
	vec3 c = shade(vec3(shade(light)) + rest, 0.8);
	gl_FragColor = vec4(c * smoothstep(clamp01(luma(c) * 2.0)), 1.0);
}
float shade(float x) { return x * 0.9; }
vec3 shade(vec3 c, const in float amount) { return c * amount; }
