/*{ "DESCRIPTION": "Defines what the format has already", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "level", "TYPE": "float", "DEFAULT": 1.0 }, { "NAME": "point", "TYPE": "point2D", "DEFAULT": [ 0.25, 0.0 ] } ] }*/

#define TIME 0.5
#define RENDERSIZE vec2(32.0, 48.0)
#define level 0.25
#define iMouse point
#define PI 3.14159265
uniform float iTime;
void main() {
	vec2 uv = gl_FragCoord.xy / RENDERSIZE;
	vec4 c = IMG_NORM_PIXEL(inputImage, fract(uv + iMouse));
	gl_FragColor = vec4(c.r * TIME, c.g * level * 4.0, c.b + iTime, 1.0);
}
