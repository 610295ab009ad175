/*{ "DESCRIPTION": "Turns what it kept", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Feedback" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "reset", "TYPE": "event" } ], "PASSES": [ { "TARGET": "last", "PERSISTENT": true, "FLOAT": true } ] }*/

void main() {
	vec2 p = isf_FragNormCoord - vec2(0.5);
	float a = 0.2;
	p = vec2(p.x * cos(a) - p.y * sin(a), p.x * sin(a) + p.y * cos(a)) * 0.9;
	vec4 old = IMG_NORM_PIXEL(last, p + 0.5);
	vec4 now = IMG_THIS_PIXEL(inputImage);
	gl_FragColor = reset ? now : max(now * 0.6, old * 0.9);
}
