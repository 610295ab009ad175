/*{ "DESCRIPTION": "From a site that draws with two names", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "iMouse", "TYPE": "point2D", "DEFAULT": [ 0.5, 0.5 ], "MIN": [ 0.0, 0.0 ], "MAX": [ 1.0, 1.0 ] } ] }*/

#define iTime TIME
#define iGlobalTime TIME
#define iResolution vec3(RENDERSIZE, 1.0)
#define iChannel0 inputImage
#define texture texture2D
vec3 iPalette(float t) { return 0.5 + 0.5 * cos(6.28318 * (t + vec3(0.0, 0.33, 0.67))); }
void mainImage( out vec4 fragColor, in vec2 fragCoord )
{
	vec2 uv = fragCoord.xy / iResolution.xy;
	vec3 col = texture(iChannel0, uv).xyz;
	col *= iPalette(uv.x + iTime * 0.1 + iMouse.x);
	fragColor = vec4(col, 1.0);
}
void main(void) { mainImage(gl_FragColor, gl_FragCoord.xy); }
