/*{ "DESCRIPTION": "The last pass has a target and a size", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [ { "TARGET": "small", "WIDTH": "8", "HEIGHT": "6" } ] }*/

void main() { gl_FragColor = IMG_THIS_NORM_PIXEL(inputImage); }
