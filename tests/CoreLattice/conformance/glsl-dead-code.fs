/*{ "DESCRIPTION": "Words and errors where nobody compiles", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

#if 0
This is for people: don't read it while compiling. It has (brackets, "quotes and for loops.
#if 1
float broken(float x) { for (;) return y }
#else
while
#endif
#elif 1
#define AMOUNT 0.5
#else
#error use this for nothing
#endif
#pragma unroll(4) while it lasts
#ifdef NEVER
vec4 unused() { return missing(undeclared, 1.0); }
#error there is no output for this
#endif
#if 1
#define TINT vec4(1.0, AMOUNT, 1.0, 1.0)
#else
#define TINT for
#endif
#if (0)
while
#endif
void main() {
#if 0
	for each pixel, do the old thing
#else
	gl_FragColor = IMG_THIS_PIXEL(inputImage) * TINT;
#endif
}
