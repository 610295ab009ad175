/*{ "DESCRIPTION": "Wraps the ways to read in macros", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

#define NORM(img, p) IMG_NORM_PIXEL(img, p)
#define PIX(img, x, y) IMG_PIXEL(img, gl_FragCoord.xy + vec2(x, y))
#define THIS(img) IMG_THIS_PIXEL(img)
#define SIZE IMG_SIZE(inputImage)
#define TWO(f, i) f(i) + f((i) + 1.0)
#define FOUR(f, i) TWO(f, i) + TWO(f, (i) + 2.0)
#define SAMPLE(i) PIX(inputImage, i, 0.0)
#define saturate(x) clamp(x, 0.0, 1.0)
#define lerp mix
#define float3 vec3
#define frac(x) fract(x)
#define tex2D(s, p) texture2D(s, p)
#define MAIN void main()
MAIN {
	vec4 blurred = (FOUR(SAMPLE, -2.0)) / 4.0;
	vec4 mirrored = NORM(inputImage, vec2(1.0 - isf_FragNormCoord.x, gl_FragCoord.y / SIZE.y));
	float3 c = lerp(blurred.rgb, mirrored.rgb, frac(1.5));
	gl_FragColor = vec4(saturate(c + THIS(inputImage).rgb - tex2D(inputImage, isf_FragNormCoord).rgb), 1.0);
}
