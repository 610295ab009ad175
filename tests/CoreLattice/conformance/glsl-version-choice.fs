/*{ "DESCRIPTION": "Chooses its output by the version", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

#if __VERSION__ >= 130
#define varying in
#define texture2D texture
out vec4 fragColor;
#else
#define fragColor gl_FragColor
#endif
void main() { fragColor = texture2D(inputImage, isf_FragNormCoord.yx) * vec4(1.0, 1.0, 1.0, 0.25); }
