/*{ "DESCRIPTION": "nothing but a place", "VSN": 1.0 }*/
void main() { gl_FragColor = vec4(isf_FragNormCoord, 0.5, 1.0); }
