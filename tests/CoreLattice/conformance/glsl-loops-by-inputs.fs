/*{ "DESCRIPTION": "Loops whose ends come from outside", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "radius", "TYPE": "long", "VALUES": [ 1, 2, 4 ], "LABELS": [ "1", "2", "4" ], "DEFAULT": 2 }, { "NAME": "most", "TYPE": "float", "DEFAULT": 6.0, "MIN": 0.0, "MAX": 10.0 } ] }*/

void main() {
	vec4 sum = vec4(0.0);
	float count = 0.0;
	for (int i = -radius; i <= radius; i++) {
		if (i == 0) continue;
		sum += IMG_PIXEL(inputImage, gl_FragCoord.xy + vec2(float(i), 0.0));
		count++;
	}
	int i = 0, last = int(most);
	while (i < last) i += 2;
	do i--; while (i > radius);
	for (int a = 0, b = 6; a < b; a++, b--) count += 0.0 * float(a);
	for (float f = 0.; f < 1. && f != most; f += .25) sum += vec4(0.25 * float(i));
	int k;
	for (k = 0; k < radius; ) { k += 1; }
	while (true) { if (k-- < 0) break; }
	for (int x = 0; x < 2; x++)
		for (int y = radius; y > 0; y--)
			for (int z = 0; z != 2; ++z) count += 0.0;
	gl_FragColor = sum / count;
}
