/*{ "DESCRIPTION": "The corners look at the picture", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

varying vec4 cornerColor;
void main() { gl_FragColor = mix(IMG_THIS_PIXEL(inputImage), cornerColor, 0.5); }
