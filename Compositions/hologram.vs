varying float flicker;
varying float sweep;
varying float linePlace;

void main()
{
    isf_vertShaderInit();
    flicker = 0.92 + 0.05 * sin(TIME * 37.0) + 0.04 * sin(TIME * 11.3);
    sweep = fract(TIME * 0.23) * 1.4 - 0.2;
    linePlace = isf_FragNormCoord.y * 180.0;
}
