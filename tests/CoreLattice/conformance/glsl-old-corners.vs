varying vec2 where;
void main() {
	isf_vertShaderInit();
	gl_Position = ftransform();
	where = gl_Vertex.xy * 0.5 + 0.5;
}
