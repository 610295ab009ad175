/*{ "DESCRIPTION": "Reads through macros over several lines", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

#define OFFSET(x, y) \
	IMG_NORM_PIXEL(inputImage, \
		clamp(isf_FragNormCoord + vec2((x), (y)) / RENDERSIZE, vec2(0.0), vec2(1.0)))
#define HERE IMG_THIS_PIXEL(inputImage)
#define SUM(a, b, c, d) ((a) + (b) + \
	(c) + (d))
#define LOOP(n) for (int i = 0; i < n; ++i)
/* IMG_PIXEL(nothing, here) is a comment; so is PASSINDEX */
void main() {
	vec4 around = SUM(OFFSET(-4.0, 0.0), OFFSET(4.0, 0.0), OFFSET(0.0, -4.0), OFFSET(0.0, 4.0)); // IMG_SIZE(no
	float extra = 0.0;
	LOOP(3) extra += 0.05;
	gl_FragColor = abs(HERE - around / 4.0) * 2.0 + extra;
}
