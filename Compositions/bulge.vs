varying vec2 fromPointer;
varying vec2 toPicture;

void main()
{
    isf_vertShaderInit();
    float shape = RENDERSIZE.x / RENDERSIZE.y;
    fromPointer = (isf_FragNormCoord - vec2(inputX, inputY)) * vec2(shape, 1.0) / radius;
    toPicture = vec2(radius / shape, radius);
}
