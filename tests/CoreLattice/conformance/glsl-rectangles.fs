/*{ "DESCRIPTION": "Pictures whose places are counted in pixels", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

#extension GL_ARB_texture_rectangle : enable
uniform sampler2DRect inputImage;
vec4 at(sampler2DRect picture, vec2 place) { return texture2DRect(picture, place); }
void main() {
	vec2 place = gl_FragCoord.xy;
	place.x = 64.0 - place.x;
	gl_FragColor = mix(at(inputImage, place), texture2DRect(inputImage, gl_FragCoord.xy), 0.5);
}
