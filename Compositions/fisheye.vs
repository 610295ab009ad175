varying vec2 fromMiddle;
varying vec2 toPicture;

void main()
{
    isf_vertShaderInit();
    float shape = RENDERSIZE.x / RENDERSIZE.y;
    // The round picture has the radius 1 and fills the height; the other one reaches the corners.
    float unit = circle ? 2.0 : 2.0 / length(vec2(shape, 1.0));
    fromMiddle = (isf_FragNormCoord - 0.5) * vec2(shape, 1.0) * unit;
    toPicture = vec2(1.0 / shape, 1.0) / (unit * zoom) * (circle ? 0.97 : 1.0);
}
