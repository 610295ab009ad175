/*{ "DESCRIPTION": "Begins with a byte order mark", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/
void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage).rbga; }
