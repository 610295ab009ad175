/*{ "DESCRIPTION": "Calls within calls", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

void main() {
	vec2 r = IMG_SIZE(inputImage);
	vec4 m = IMG_PIXEL( inputImage , min(r - 1.0, max(vec2(0.0), gl_FragCoord.xy + (IMG_NORM_PIXEL(inputImage, (gl_FragCoord.xy / r)).rg - 0.5) * vec2(16.0, (8.0)))) );
	gl_FragColor = mix(m, IMG_PIXEL(inputImage, IMG_SIZE(inputImage) * isf_FragNormCoord), vec4(0.25));
}
