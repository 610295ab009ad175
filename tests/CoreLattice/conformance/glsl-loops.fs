/*{ "DESCRIPTION": "Loops of every kind", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "radius", "TYPE": "float", "DEFAULT": 2.0, "MIN": 0.0, "MAX": 10.0 } ] }*/

const int most = 3;
void main() {
	vec4 sum = vec4(0.0);
	float weight = 0.0;
	for (float y = -radius; y <= radius; y++)
		for (float x = -radius; x <= radius; x++) {
			if (abs(x) + abs(y) > float(most)) continue;
			sum += IMG_PIXEL(inputImage, gl_FragCoord.xy + vec2(x, y));
			weight += 1.0;
		}
	int i = 0;
	while (i < most) { i++; if (i == 2) break; }
	do { weight += 0.0; i--; } while (i > 0);
	for (;;) { if (++i > 4) break; }
	gl_FragColor = sum / weight;
}
