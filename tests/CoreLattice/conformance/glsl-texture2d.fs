/*{ "DESCRIPTION": "Reads with the functions of the language", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

vec4 fetch(sampler2D tex, vec2 p) { return texture2D(tex, p, 0.0); }
#define TEX texture2D
void main() {
	vec2 uv = gl_FragCoord.xy / RENDERSIZE;
	vec4 a = fetch(inputImage, uv);
	vec4 b = TEX(inputImage, vec2(uv.x, uv.y * 0.5));
	vec4 c = texture2DLod(inputImage, uv, 0.0);
	gl_FragColor = uv.x < 0.33 ? a : (uv.x < 0.66 ? b : c);
}
