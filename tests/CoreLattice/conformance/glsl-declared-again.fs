/*{ "DESCRIPTION": "Declares again what the header declares", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "a", "TYPE": "float", "DEFAULT": 0.5 }, { "NAME": "b", "TYPE": "float", "DEFAULT": 0.25 }, { "NAME": "c", "TYPE": "bool", "DEFAULT": true } ] }*/

uniform sampler2D inputImage;
uniform float a, b;
uniform bool c;
uniform vec2 RENDERSIZE; uniform float TIME, TIMEDELTA;
uniform int FRAMEINDEX, PASSINDEX;
uniform vec4 DATE;
varying vec2 vv_FragNormCoord, isf_FragNormCoord;
void main() { gl_FragColor = c ? IMG_NORM_PIXEL(inputImage, vv_FragNormCoord) * (a + b) : vec4(0.0); }
