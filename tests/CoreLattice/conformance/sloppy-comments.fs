/*
{
	// who made this
	"CREDIT": "Tovrin // not a comment",
	"INPUTS": [
		{ "NAME": "inputImage", "TYPE": "image" }, // the picture
		// { "NAME": "off", "TYPE": "float" },
		{ "NAME": "level", "TYPE": "float", "DEFAULT": "0.75" }
	]
}
That was the header, and here are some notes on it: {not JSON}.
*/
void main() { gl_FragColor = vec4(level) * IMG_THIS_PIXEL(inputImage); }
