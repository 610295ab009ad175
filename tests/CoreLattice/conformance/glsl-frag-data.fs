/*{ "DESCRIPTION": "Writes to the list of outputs", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

void main() { gl_FragData[0] = IMG_THIS_PIXEL(inputImage) * vec4(0.0, 1.0, 1.0, 1.0); }
