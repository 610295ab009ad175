/*{
	"INPUTS": [
		{ "NAME": "inputImage", "TYPE": "image" },
		{ "NAME": "on", "TYPE": "bool", "DEFAULT": "1" },
		{ "NAME": "off", "TYPE": "bool", "DEFAULT": "false" },
		{ "NAME": "mode", "TYPE": "long", "VALUES": [ "0", "1", "2" ], "LABELS": [ "a", "b" ], "DEFAULT": 2.0 },
		{ "NAME": "named", "TYPE": "long", "LABELS": [ "None", "Half", "Full" ], "DEFAULT": "Half" },
		{ "NAME": "plain", "TYPE": "long", "MIN": 0, "MAX": 4, "DEFAULT": 3 },
		{ "NAME": "tint", "TYPE": "color", "DEFAULT": [ 0.5 ] },
		{ "NAME": "place", "TYPE": "point2D", "DEFAULT": [ "0.5" ] },
		{ "NAME": "level", "TYPE": "float", "DEFAULT": [ 0.25 ], "MIN": 1.0, "MAX": 0.0 },
		{ "NAME": "level", "TYPE": "float", "DEFAULT": 0.25 }
	],
	"PASSES": null
}*/
void main() {
	vec4 c = IMG_THIS_PIXEL(inputImage);
	c.r *= tint.r + (on ? 0.25 : 0.0) + (off ? 9.0 : 0.0);
	c.g *= float(mode * plain * named) / 12.0 + place.x;
	c.b = c.b + level;
	gl_FragColor = c;
}
