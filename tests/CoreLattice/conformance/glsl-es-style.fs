/*{ "DESCRIPTION": "Written for embedded systems", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "speed", "TYPE": "float", "DEFAULT": 0.5 } ] }*/

#ifdef GL_ES
#extension GL_OES_standard_derivatives : require
precision mediump float;
#endif
precision highp int;
uniform float TIME;
uniform vec2 RENDERSIZE;
varying vec2 isf_FragNormCoord;
highp vec3 shade(in highp vec2 p) { return vec3(p, 0.5 + 0.5 * sin(speed)); }
void main(void) {
	lowp vec3 c = shade(gl_FragCoord.xy / RENDERSIZE.xy);
	gl_FragColor = vec4(c * texture2D(inputImage, isf_FragNormCoord).rgb, 1.0);
}
