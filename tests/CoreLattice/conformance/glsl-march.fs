/*{ "DESCRIPTION": "A ray into a field", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Generator" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

#define MAX_STEPS 48
#define EPSILON 1e-3
mat3 rotY(float a) { float s = sin(a), c = cos(a); return mat3(c, 0., s, 0., 1., 0., -s, 0., c); }
float sphere(vec3 p, float r) { return length(p) - r; }
float field(vec3 p) { p = rotY(.7) * p; return min(sphere(p, .6), max(abs(p.x) - .3, max(abs(p.y) - .7, abs(p.z) - .3))); }
vec3 normal(vec3 p) {
	const vec2 e = vec2(.001, 0.);
	return normalize(vec3(field(p + e.xyy) - field(p - e.xyy), field(p + e.yxy) - field(p - e.yxy), field(p + e.yyx) - field(p - e.yyx)));
}
void main() {
	vec2 uv = (2. * gl_FragCoord.xy - RENDERSIZE) / RENDERSIZE.y;
	vec3 ro = vec3(0., 0., -2.), rd = normalize(vec3(uv, 1.5));
	float t = 0.; bool hit = false;
	for (int i = 0; i < MAX_STEPS; i++) {
		float d = field(ro + rd * t);
		if (d < EPSILON) { hit = true; break; }
		t += d;
	}
	vec3 c = IMG_THIS_PIXEL(inputImage).rgb * .5;
	if (hit) c = .5 + .5 * normal(ro + rd * t);
	gl_FragColor = vec4(c, 1.);
}
