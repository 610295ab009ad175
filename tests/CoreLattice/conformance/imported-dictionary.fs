/*{ "DESCRIPTION": "Brings a picture, older form", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "IMPORTED": { "stamp": { "PATH": "stamp.png" } } }*/

void main() {
	gl_FragColor = IMG_NORM_PIXEL(stamp, mod(gl_FragCoord.xy / IMG_SIZE(stamp), 1.0));
	gl_FragColor.rgb = mix(IMG_THIS_PIXEL(inputImage).rgb, gl_FragColor.rgb, 0.5);
}
