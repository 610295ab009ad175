/*{ "DESCRIPTION": "Values outside of functions", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "zoom", "TYPE": "float", "DEFAULT": 2.0 } ] }*/

vec2 middle = RENDERSIZE * 0.5;
float aspect = RENDERSIZE.x / RENDERSIZE.y, scaled = zoom * 0.5;
const float golden = 1.618;
#define PI 3.14159
vec2 toPolar(vec2 p);
void main() {
	const float amount = scaled;
	const vec2 p = (gl_FragCoord.xy - middle) / RENDERSIZE.y;
	vec2 q = toPolar(p);
	gl_FragColor = IMG_NORM_PIXEL(inputImage, fract(vec2(q.x * amount * golden, q.y / (2.0 * PI) + 0.5)));
}
vec2 toPolar(vec2 p) { return vec2(length(p), atan(p.y, p.x)); }
