/*{ "CREDIT": "François", "DESCRIPTION": "a text
	over two lines with C:\path", "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/
// naïve
void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage) * vec4(1.0, 0.5, 1.0, 1.0); /* ° */ }
