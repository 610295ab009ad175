/*{ "DESCRIPTION": "Inverts when asked", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "invert", "TYPE": "bool", "DEFAULT": 1.0 }, { "NAME": "swap", "TYPE": "bool", "DEFAULT": false } ] }*/

void main()
{
	vec4 c = IMG_THIS_NORM_PIXEL(inputImage);
	if (invert)
		c.rgb = 1.0 - c.rgb;
	if (swap == true)
		c = c.bgra;
	gl_FragColor = c;
}
