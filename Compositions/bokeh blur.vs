varying vec2 fromFace;

void main()
{
    isf_vertShaderInit();
    // A circle around the face has the radius 1.
    fromFace = (isf_FragNormCoord - face) * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0) / max(radius, 0.02);
}
