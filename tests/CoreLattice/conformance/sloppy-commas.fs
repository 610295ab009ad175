
   
/*{
	"DESCRIPTION": "commas where none belong, and none where they do",,
	"INPUTS": [
		{ "NAME": "inputImage", "TYPE": "image", },
		{ "NAME": "gain", "TYPE": "float", "DEFAULT": .5, "MIN": 0., "MAX": +2 }
		{ "NAME": "lift" "TYPE": "float", "DEFAULT": 0.1f, "MIN": -1, "MAX": 1, },
	],
}*/
void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage) * gain + lift; }
