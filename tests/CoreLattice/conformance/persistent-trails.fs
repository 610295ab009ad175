/*{ "DESCRIPTION": "Trails", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Stylize" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "keep", "TYPE": "float", "DEFAULT": 0.5 } ], "PASSES": [ { "TARGET": "feedback", "PERSISTENT": true, "FLOAT": true }, { } ] }*/

void main()
{
	vec4 fresh = IMG_THIS_PIXEL(inputImage);
	vec4 stale = IMG_PIXEL(feedback, gl_FragCoord.xy - vec2(3.0, 1.0));
	gl_FragColor = (PASSINDEX == 0) ? mix(fresh, stale, keep) : IMG_THIS_PIXEL(feedback);
}
