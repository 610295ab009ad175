/*{ "DESCRIPTION": "Sharpens with places from the corners", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Sharpen" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

varying vec2 left_coord;
varying vec2 right_coord;
varying vec2 above_coord;
varying vec2 below_coord;
void main() {
	vec4 c = IMG_THIS_NORM_PIXEL(inputImage);
	vec4 l = IMG_NORM_PIXEL(inputImage, left_coord);
	vec4 r = IMG_NORM_PIXEL(inputImage, right_coord);
	vec4 a = IMG_NORM_PIXEL(inputImage, above_coord);
	vec4 b = IMG_NORM_PIXEL(inputImage, below_coord);
	gl_FragColor = c + 2.0 * (4.0 * c - l - r - a - b);
}
