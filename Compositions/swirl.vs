varying vec2 fromMiddle;
varying vec2 toPicture;
varying float most;

void main()
{
    isf_vertShaderInit();
    float shape = RENDERSIZE.x / RENDERSIZE.y;
    fromMiddle = (isf_FragNormCoord - middle) * vec2(shape, 1.0) / radius;
    toPicture = vec2(radius / shape, radius);
    most = radians(turns) * (swing > 0.0 ? sin(TIME * swing * (6.2831853 / 60.0)) : 1.0);
}
