flat out vec2 carried;

void main()
{
    isf_vertShaderInit();
    // How far the water carries the colour at most.
    carried = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) * (wash / 80.0);
}
