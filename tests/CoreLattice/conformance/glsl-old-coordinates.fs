/*{ "DESCRIPTION": "The oldest names", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

void main() {
	vec2 uv = gl_TexCoord[0].st;
	vec2 size = _inputImage_imgSize;
	gl_FragColor = IMG_NORM_PIXEL(inputImage, uv.yx) * (_inputImage_flip ? 0.0 : 1.0) * (size.x > 1.0 ? 1.0 : 0.0);
}
