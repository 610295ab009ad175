varying vec2 cellPlace;

void main()
{
    isf_vertShaderInit();
    // A field is three quarters as wide as high.
    cellPlace = isf_FragNormCoord * vec2(floor(rows * RENDERSIZE.x / RENDERSIZE.y * 1.3333), floor(rows));
}
