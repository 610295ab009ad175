/*{ "DESCRIPTION": "Inputs with the names of other things", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "texture", "TYPE": "image" }, { "NAME": "scale", "TYPE": "float", "DEFAULT": 0.5 },
	{ "NAME": "at", "TYPE": "float", "DEFAULT": 0.5 }, { "NAME": "by", "TYPE": "bool", "DEFAULT": 1 },
	{ "NAME": "image", "TYPE": "float", "DEFAULT": 0.25 }, { "NAME": "mod", "TYPE": "float", "DEFAULT": 0.5 },
	{ "NAME": "time", "TYPE": "float", "DEFAULT": 1.0 }, { "NAME": "index", "TYPE": "long", "VALUES": [ 0, 4 ], "LABELS": [ "0", "4" ], "DEFAULT": 4 },
	{ "NAME": "color", "TYPE": "color", "DEFAULT": [ 1, 0.5, 1, 1 ] }, { "NAME": "position", "TYPE": "point2D", "DEFAULT": [ 0.5, 0.5 ] } ] }*/

float scaled(float scale) { return scale * 2.0; }
void main() {
	vec3 c = IMG_THIS_PIXEL(inputImage).rgb;
	vec4 second = IMG_NORM_PIXEL(texture, isf_FragNormCoord);
	float sum = scaled(scale) * at + (by ? image : 0.0) + length(c) * 0.0 + time * 0.0;
	for (int i = 0; i < index; i++) sum += 0.05;
	gl_FragColor = vec4(color.rgb * sum * c + mod * 0.1 + second.rgb, position.x);
}
