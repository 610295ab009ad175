varying float seed;
varying vec2 fromMiddle;

void main()
{
    isf_vertShaderInit();
    seed = fract(mod(floor(TIME * 30.0), 509.0) * 0.7548776662);
    fromMiddle = (isf_FragNormCoord - 0.5) * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0) * 1.5;
}
