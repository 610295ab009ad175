/*{ "DESCRIPTION": "Sizes as people write them", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "scale", "TYPE": "float", "DEFAULT": 0.5 } ], "PASSES": [
	{ "TARGET": "a", "WIDTH": "$WIDTH/2.0", "HEIGHT": "$HEIGHT / 2.", "PERSISTENT": "true" },
	{ "TARGET": "b", "WIDTH": "max($WIDTH*0.25, 1.0)", "HEIGHT": "floor($HEIGHT/5.)", "FLOAT": "1" },
	{ "TARGET": "c", "WIDTH": "min($WIDTH,$HEIGHT)", "HEIGHT": "($WIDTH+$HEIGHT)/2", "PERSISTENT": 1, "FLOAT": true },
	{ "TARGET": "d", "WIDTH": "$WIDTH*$scale", "HEIGHT": "$HEIGHT*pow($scale, 2)", "PERSISTENT": 0 },
	{ "TARGET": "e", "WIDTH": 10.7, "HEIGHT": "0", "PERSISTENT": false, "FLOAT": "false" },
	{ "TARGET": "f", "WIDTH": "", "HEIGHT": " $HEIGHT " },
	{ } ] }*/

bool isSize(vec2 size, float width, float height) { return size == vec2(width, height); }
void main() {
	if (PASSINDEX < 6) { gl_FragColor = vec4(RENDERSIZE / 64.0, float(PASSINDEX) / 6.0, 1.0); return; }
	bool right[6];
	right[0] = isSize(IMG_SIZE(a), 32.0, 24.0);
	right[1] = isSize(IMG_SIZE(b), 16.0, 9.0);
	right[2] = isSize(IMG_SIZE(c), 48.0, 56.0);
	right[3] = isSize(IMG_SIZE(d), 32.0, 12.0);
	right[4] = isSize(IMG_SIZE(e), 10.0, 1.0);
	right[5] = isSize(IMG_SIZE(f), 64.0, 48.0);
	int bar = int(isf_FragNormCoord.x * 6.0);
	gl_FragColor = right[bar] ? vec4(0.0, 1.0, 0.0, 1.0) : vec4(1.0, 0.0, 0.0, 1.0);
	if (isf_FragNormCoord.y < 0.5) {
		vec4 drawn = bar == 0 ? IMG_THIS_PIXEL(a) : bar == 1 ? IMG_THIS_PIXEL(b) : bar == 2 ? IMG_THIS_PIXEL(c)
			: bar == 3 ? IMG_THIS_PIXEL(d) : bar == 4 ? IMG_THIS_PIXEL(e) : IMG_THIS_PIXEL(f);
		gl_FragColor = drawn;
	}
}
