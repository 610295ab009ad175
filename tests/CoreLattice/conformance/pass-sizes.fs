/*{ "DESCRIPTION": "Formulas for sizes", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "cells", "TYPE": "float", "DEFAULT": 6 }, { "NAME": "half", "TYPE": "bool", "DEFAULT": true } ], "PASSES": [ { "TARGET": "a", "WIDTH": "$cells", "HEIGHT": "floor(min($WIDTH, $HEIGHT) / 8 + 0.5)" }, { "TARGET": "b", "WIDTH": "WIDTH / 2^2", "HEIGHT": "ceil($HEIGHT % 7) * (1 + $half)" }, { "TARGET": "c", "WIDTH": 0, "HEIGHT": -3 }, { } ] }*/

void main() {
	if (PASSINDEX < 3) { gl_FragColor = vec4(RENDERSIZE / 64.0, 0.0, 1.0); return; }
	vec4 p = isf_FragNormCoord.x < 0.33 ? IMG_THIS_PIXEL(a) : (isf_FragNormCoord.x < 0.66 ? IMG_THIS_PIXEL(b) : IMG_THIS_PIXEL(c));
	gl_FragColor = p + IMG_THIS_PIXEL(inputImage) * 0.25;
}
