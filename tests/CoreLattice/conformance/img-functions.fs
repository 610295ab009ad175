/*{ "DESCRIPTION": "Every way to read, from every kind of picture", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [ { "TARGET": "turned" }, { } ], "IMPORTED": { "stamp": { "PATH": "stamp.png" } } }*/

bool same(vec4 a, vec4 b) { return all(lessThan(abs(a - b), vec4(0.02))); }
void main() {
	if (PASSINDEX == 0) { gl_FragColor = IMG_THIS_NORM_PIXEL(inputImage).brga; return; }
	vec2 at = isf_FragNormCoord;
	vec4 input0 = IMG_NORM_PIXEL(inputImage, at);
	vec4 pass0 = IMG_NORM_PIXEL(turned, at);
	vec4 stamp0 = IMG_NORM_PIXEL(stamp, at);
	bool right[8];
	right[0] = same(IMG_THIS_PIXEL(inputImage), input0) && same(IMG_THIS_NORM_PIXEL(inputImage), input0);
	right[1] = same(IMG_PIXEL(inputImage, gl_FragCoord.xy), input0);
	right[2] = same(IMG_PIXEL(inputImage, at * IMG_SIZE(inputImage)), input0);
	right[3] = same(IMG_THIS_PIXEL(turned), pass0) && same(IMG_NORM_THIS_PIXEL(turned), pass0) && same(pass0, input0.brga);
	right[4] = same(IMG_PIXEL(turned, gl_FragCoord.xy), pass0) && IMG_SIZE(turned) == RENDERSIZE;
	right[5] = same(IMG_THIS_PIXEL(stamp), stamp0) && same(IMG_THIS_NORM_PIXEL(stamp), stamp0);
	right[6] = same(IMG_PIXEL(stamp, at * IMG_SIZE(stamp)), stamp0) && IMG_SIZE(stamp).x > 1.0;
	right[7] = same(texture2D(stamp, at), stamp0) && same(texture2D(turned, vv_FragNormCoord), pass0);
	gl_FragColor = right[int(at.x * 8.0)] ? vec4(0.0, 1.0, 0.0, 1.0) : vec4(1.0, 0.0, 0.0, 1.0);
	if (at.y < 0.5) gl_FragColor = mix(pass0, stamp0, 0.5);
}
