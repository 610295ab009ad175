varying float hands;
varying vec3 growth;

void main()
{
    isf_vertShaderInit();
    hands = FRAMEINDEX < 4 || mod(float(FRAMEINDEX), floor(delay + 0.5)) < 0.5 ? 1.0 : 0.0;
    growth = 1.0 / (1.0 + growing * vec3(0.1, 0.2, 0.3));
}
