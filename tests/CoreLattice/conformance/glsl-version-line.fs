#version 150
/*{ "DESCRIPTION": "Has a line for the version", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/
#version 330
#extension GL_ARB_texture_rectangle : require
uniform sampler2D inputImage;
uniform int PASSINDEX;
in vec2 isf_FragNormCoord;
out vec4 fragColor;
void main() { fragColor = vec4(texture(inputImage, isf_FragNormCoord).bgr, 0.0); }
