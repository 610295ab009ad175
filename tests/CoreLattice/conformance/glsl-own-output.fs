/*{ "DESCRIPTION": "Names its output; gl_FragColor is in a comment only", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

// not gl_FragColor
layout(location = 0) out vec4 result;
void main() { result = texelFetch(inputImage, ivec2(gl_FragCoord.xy), 0) * vec4(1.0, 1.0, 0.0, 1.0); }
