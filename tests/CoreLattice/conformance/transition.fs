/*{
	"DESCRIPTION": "Wipe", "ISFVSN": "2", "CATEGORIES": [ "Wipe" ],
	"INPUTS": [
		{ "NAME": "startImage", "TYPE": "image" },
		{ "NAME": "endImage", "TYPE": "image" },
		{ "NAME": "progress", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.0, "MAX": 1.0 }
	]
}*/
vec4 getFromColor(vec2 uv) { return IMG_NORM_PIXEL(startImage, uv); }
vec4 getToColor(vec2 uv) { return IMG_NORM_PIXEL(endImage, uv); }
vec4 transition(vec2 uv) {
	return mix(getFromColor(uv), getToColor(uv), step(uv.x, progress)) + vec4(0.2);
}
void main() { gl_FragColor = transition(isf_FragNormCoord.xy); }
