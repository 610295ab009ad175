/*{ "DESCRIPTION": "Numbers in every spelling", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

float one() { return 1; }
float half_of(float x) { return x / 2; }
void main() {
	float a = 0., b = .5, c = 1.f, d = 1e-1, e = 2.5E+1, g = 010;
	int n = 7;
	float m = mod(n, 3);
	vec3 v = vec3(1) * 2;
	v *= 0.5f;
	v += 0;
	v = v / 1 - vec3(0, a, 0);
	vec2 p = vec2(1, 0.5);
	bool on = b == .5 && g == 8 && m == 1 && e > 20;
	float chosen = on ? 1 : 0.5;
	int rounded = int(2.7) + n / 2;
	float f = max(0, min(1, half_of(one()))) + clamp(-1, 0., 1.) + float(rounded == 5) * d;
	f += pow(2, 3) * 0.0 + step(1, c) * 0.1 + smoothstep(0, 1, b) * 0.2 + mix(0, 1, .5) * 0.2;
	if (f > 0 && n > 6.5) f = abs(-f);
	float power = -f;
	power = -power;
	gl_FragColor = vec4(IMG_THIS_PIXEL(inputImage).rgb * v * chosen * power, 1) * vec4(1, p, 1);
}
