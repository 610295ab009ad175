/*{ "DESCRIPTION": "No passes at all", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [ ] }*/

void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage) * float(PASSINDEX + 1) * 0.5; }
