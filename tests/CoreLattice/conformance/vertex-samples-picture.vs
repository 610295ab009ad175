varying vec4 cornerColor;
void main() {
	isf_vertShaderInit();
	gl_Position = vec4(gl_Position.xy * 0.8, gl_Position.zw);
	cornerColor = IMG_NORM_PIXEL(inputImage, isf_FragNormCoord);
}
