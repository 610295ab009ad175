/*{ "DESCRIPTION": "Slopes", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

void main() {
	float l = dot(IMG_THIS_PIXEL(inputImage).rgb, vec3(0.333));
	vec2 s = vec2(dFdx(isf_FragNormCoord.x), dFdy(isf_FragNormCoord.y)) * RENDERSIZE * 0.5;
	gl_FragColor = vec4(s, fwidth(l) * 4.0, 1.0);
}
