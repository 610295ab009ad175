varying float barHeight;

void main()
{
    isf_vertShaderInit();
    barHeight = 0.5 * RENDERSIZE.x / (RENDERSIZE.y * shape);
}
