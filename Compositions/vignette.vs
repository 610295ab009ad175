varying vec2 fromMiddle;

void main()
{
    isf_vertShaderInit();
    // From an ellipse in the picture's shape to a circle. The corners are about 1 away.
    float shape = mix(1.0, RENDERSIZE.x / RENDERSIZE.y, roundness);
    fromMiddle = (isf_FragNormCoord - middle) * vec2(shape, 1.0) * 1.35;
}
