#version 150
uniform float reach;
out vec2 left;
out vec2 right[2];
flat out int chosen;
void main()
{
	vv_vertShaderInit();
	left = clamp(vv_FragNormCoord - vec2(reach, 0.0), 0.0, 1.0);
	right[0] = isf_FragNormCoord + vec2(reach, 0.0);
	right[1] = isf_FragNormCoord + vec2(0.0, reach * RENDERSIZE.x / RENDERSIZE.y);
	chosen = 3;
}
