/*{ "DESCRIPTION": "Writes nothing at all", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

float unused = 0.0;
void main() { unused = IMG_THIS_PIXEL(inputImage).r; }
