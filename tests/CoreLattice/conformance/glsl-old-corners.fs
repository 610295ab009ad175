/*{ "DESCRIPTION": "A vertex shader as they once were", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

varying vec2 where;
varying vec2 where;
void main() { gl_FragColor = IMG_NORM_PIXEL(inputImage, vec2(where.x, 1.0 - where.y)); }
