flat out vec2 toMiddle;

void main()
{
    isf_vertShaderInit();
    // A brush takes up a little of what it goes over, so a stroke's colour is not quite its middle's.
    toMiddle = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) * (23.0 / 360.0);
}
