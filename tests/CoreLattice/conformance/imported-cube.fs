/*{ "DESCRIPTION": "Six pictures around", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "IMPORTED": { "sky": { "TYPE": "cube", "PATH": [ "stamp.png", "stamp.png", "stamp.png", "stamp.png", "stamp.png", "stamp.png" ] } } }*/

void main() {
	vec3 way = normalize(vec3(isf_FragNormCoord * 2.0 - 1.0, 0.7));
	gl_FragColor = mix(IMG_THIS_PIXEL(inputImage), textureCube(sky, way), 0.7);
}
