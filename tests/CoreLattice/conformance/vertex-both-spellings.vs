#if __VERSION__ <= 120
varying vec2 turned;
varying vec2 places[2];
#else
out vec2 turned;
out vec2 places[2];
#endif
void main() {
	vv_vertShaderInit();
	float a = angle * 6.28318;
	mat2 turn = mat2(cos(a), -sin(a), sin(a), cos(a));
	turned = turn * (isf_FragNormCoord - 0.5) + 0.5;
	places[0] = turned;
	places[1] = 1.0 - isf_FragNormCoord;
}
