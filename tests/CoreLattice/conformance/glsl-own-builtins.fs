/*{ "DESCRIPTION": "Has functions with names of the language", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

float round(float x) { return floor(x + 0.5); }
vec3 mod(vec3 x, float y) { return x - y * floor(x / y); }
float noise(vec2 p) { return fract(sin(dot(p, vec2(12.9898, 78.233))) * 43758.5453); }
float tanh(float x) { float e = exp(2.0 * x); return (e - 1.0) / (e + 1.0); }
mat2 inverse(mat2 m) { return mat2(m[1][1], -m[0][1], -m[1][0], m[0][0]) / (m[0][0] * m[1][1] - m[0][1] * m[1][0]); }
vec4 texture(vec2 p) { return IMG_NORM_PIXEL(inputImage, p); }
float map(float v, float a, float b) { return mix(a, b, v); }
void main() {
	vec2 p = inverse(mat2(2.0, 0.0, 0.0, 1.0)) * isf_FragNormCoord;
	vec4 c = texture(p);
	c.rgb = mod(c.rgb * 2.0, 1.0);
	gl_FragColor = vec4(round(c.r * 4.0) / 4.0, tanh(c.g), map(c.b, 0.2, 0.8), 1.0);
}
