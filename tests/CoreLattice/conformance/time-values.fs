/*{ "DESCRIPTION": "All that changes by itself", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

void main() {
	float year = DATE.x > 2000.0 && DATE.y >= 1.0 && DATE.z <= 31.0 && DATE.w < 86401.0 ? 1.0 : 0.0;
	vec3 c = vec3(fract(TIME), TIMEDELTA, float(FRAMEINDEX) / 8.0);
	gl_FragColor = vec4(mix(c, IMG_THIS_PIXEL(inputImage).rgb, 0.25) * year, 1.0);
}
