/*{ "DESCRIPTION": "Values as hurried hands write them", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" },
	{ "NAME": "whole", "TYPE": "float", "DEFAULT": 1 },
	{ "NAME": "text", "TYPE": "float", "DEFAULT": "0.25", "MIN": "0", "MAX": "1" },
	{ "NAME": "listed", "TYPE": "float", "DEFAULT": [ 0.75 ], "MAX": 2 },
	{ "NAME": "truth", "TYPE": "float", "DEFAULT": true, "MIN": -1.0 },
	{ "NAME": "none", "TYPE": "float", "DEFAULT": null },
	{ "NAME": "flag", "TYPE": "bool", "DEFAULT": "true" },
	{ "NAME": "number", "TYPE": "bool", "DEFAULT": 1.0, "MIN": 0, "MAX": 1 },
	{ "NAME": "off", "TYPE": "bool", "DEFAULT": "0" },
	{ "NAME": "three", "TYPE": "color", "DEFAULT": [ 0.25, 0.5, 1 ] },
	{ "NAME": "place", "TYPE": "point2D", "DEFAULT": [ "0.5", 0.25 ] },
	{ "NAME": "fewLabels", "TYPE": "long", "VALUES": [ 3, 5, 7 ], "LABELS": [ "Three" ], "DEFAULT": 5 },
	{ "NAME": "moreLabels", "TYPE": "long", "VALUES": [ 1, 2 ], "LABELS": [ "One", "Two", "Three" ], "DEFAULT": 2 } ] }*/

bool is(float a, float b) { return abs(a - b) < 0.001; }
void main() {
	bool right[11];
	right[0] = is(whole, 1.0);
	right[1] = is(text, 0.25);
	right[2] = is(listed, 0.75);
	right[3] = is(truth, 1.0);
	right[4] = is(none, 0.0);
	right[5] = flag;
	right[6] = number;
	right[7] = !off;
	right[8] = three == vec4(0.25, 0.5, 1.0, 1.0);
	right[9] = is(place.x, 0.5) && is(place.y, 0.25);
	right[10] = fewLabels == 5 && moreLabels == 2;
	gl_FragColor = right[int(isf_FragNormCoord.x * 11.0)] ? vec4(0.0, 1.0, 0.0, 1.0) : vec4(1.0, 0.0, 0.0, 1.0);
	if (isf_FragNormCoord.y < 0.5) gl_FragColor = IMG_THIS_PIXEL(inputImage) * vec4(three.rgb, 1.0);
}
