varying vec2 fromStone;

void main()
{
    isf_vertShaderInit();
    fromStone = (isf_FragNormCoord - middle) * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0);
}
