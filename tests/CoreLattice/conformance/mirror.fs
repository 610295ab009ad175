/*{ "DESCRIPTION": "Mirror", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Tile Effect" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "horizontal", "TYPE": "bool", "DEFAULT": 1.0 }, { "NAME": "vertical", "TYPE": "bool", "DEFAULT": 0.0 } ] }*/

void main() {
	vec2 normSrcCoord = isf_FragNormCoord.xy;
	if (horizontal && normSrcCoord.x > 0.5) normSrcCoord.x = (1.0 - normSrcCoord.x);
	if (vertical && normSrcCoord.y > 0.5) normSrcCoord.y = (1.0 - normSrcCoord.y);
	gl_FragColor = IMG_NORM_PIXEL(inputImage, normSrcCoord);
}
