/*{ "DESCRIPTION": "Cells that live", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [ { "TARGET": "cells", "PERSISTENT": true, "WIDTH": "$WIDTH", "HEIGHT": "$HEIGHT" }, { } ] }*/

float alive(float x, float y) { return IMG_PIXEL(cells, mod(gl_FragCoord.xy + vec2(x, y), RENDERSIZE)).r > 0.5 ? 1.0 : 0.0; }
void main() {
	if (PASSINDEX == 1) { gl_FragColor = IMG_THIS_PIXEL(cells); return; }
	if (FRAMEINDEX < 1) { gl_FragColor = vec4(step(0.4, IMG_THIS_PIXEL(inputImage).g)); return; }
	float n = alive(-1., -1.) + alive(0., -1.) + alive(1., -1.) + alive(-1., 0.) + alive(1., 0.) + alive(-1., 1.) + alive(0., 1.) + alive(1., 1.);
	gl_FragColor = vec4(vec3(n == 3. || (n == 2. && alive(0., 0.) > 0.5) ? 1. : 0.), 1.);
}
