varying vec2 fromLamp;
varying float steepness;

void main()
{
    isf_vertShaderInit();
    vec2 shape = vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0);
    fromLamp = (isf_FragNormCoord - vec2(inputX, inputY)) * shape / radius;
    steepness = 0.5 / softness;
}
