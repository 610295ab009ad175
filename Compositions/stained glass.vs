flat out vec2 toMiddle;

void main()
{
    isf_vertShaderInit();
    // From the way that the window keeps, three tenths of a piece, to the picture's own measure.
    toMiddle = vec2(RENDERSIZE.y / RENDERSIZE.x, 1.0) / (0.3 * rows);
}
