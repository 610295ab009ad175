/*{ "DESCRIPTION": "A picture that is not there is black", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "IMPORTED": [ { "NAME": "lost", "PATH": "nowhere.png" } ] }*/

void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage).gbra + IMG_THIS_PIXEL(lost); }
