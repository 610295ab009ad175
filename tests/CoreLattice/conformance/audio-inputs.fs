/*{ "DESCRIPTION": "Scope and spectrum", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "wave", "TYPE": "audio", "MAX": 256 }, { "NAME": "bars", "TYPE": "audioFFT", "MAX": 32 } ] }*/

void main() {
	vec2 loc = isf_FragNormCoord;
	float level = IMG_NORM_PIXEL(bars, vec2(loc.x, 0.5)).r;
	float sound = IMG_NORM_PIXEL(wave, vec2(loc.x, 0.5)).r;
	vec4 c = IMG_THIS_PIXEL(inputImage) * 0.5;
	if (loc.y < level)
		c.g = 1.0;
	if (abs(loc.y - sound) < 0.05)
		c.rgb = vec3(1.0);
	gl_FragColor = c;
}
