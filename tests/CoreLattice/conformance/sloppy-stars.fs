/**********************
 * {
 *   "DESCRIPTION": "in a box of stars",
 *   "INPUTS": [
 *     { "NAME": "inputImage", "TYPE": "image" }
 *   ]
 * }
 **********************/
void main() { gl_FragColor = 1.0 - IMG_THIS_PIXEL(inputImage); }
