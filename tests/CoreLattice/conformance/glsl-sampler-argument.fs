/*{ "DESCRIPTION": "Pictures as arguments", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [ { "TARGET": "one", "WIDTH": "$WIDTH/4", "HEIGHT": "$HEIGHT/4" }, { } ] }*/

vec4 soft(sampler2D image, vec2 at, vec2 d) {
	return (IMG_NORM_PIXEL(image, at - d) + IMG_NORM_PIXEL(image, at + d)) * 0.5;
}
void main() {
	if (PASSINDEX == 0) { gl_FragColor = soft(inputImage, isf_FragNormCoord, 1.0 / RENDERSIZE); return; }
	gl_FragColor = isf_FragNormCoord.x < 0.5 ? soft(one, isf_FragNormCoord, vec2(0.0)) : soft(inputImage, isf_FragNormCoord, vec2(0.02));
}
