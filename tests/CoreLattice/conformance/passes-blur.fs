/*{ "DESCRIPTION": "Two passes at part of the size", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Blur" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "amount", "TYPE": "float", "MIN": 1.0, "MAX": 8.0, "DEFAULT": 2.0 } ], "PASSES": [ { "TARGET": "smaller", "WIDTH": "max(floor($WIDTH*0.5/$amount),1.0)", "HEIGHT": "max(floor($HEIGHT*0.5/$amount),1.0)", "DESCRIPTION": "Shrinks" }, { "TARGET": "across" }, { } ] }*/

void main() {
	if (PASSINDEX == 0) {
		gl_FragColor = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord);
	}
	else if (PASSINDEX == 1) {
		vec4 sum = vec4(0.0);
		for (float i = -2.0; i <= 2.0; i += 1.0)
			sum += IMG_NORM_PIXEL(smaller, isf_FragNormCoord + vec2(i / RENDERSIZE.x * 2.0, 0.0));
		gl_FragColor = sum / 5.0;
	}
	else {
		gl_FragColor = mix(IMG_THIS_PIXEL(across), IMG_THIS_PIXEL(smaller), 0.25);
	}
}
