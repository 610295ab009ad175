varying vec2 fromMiddle;
varying vec2 stripePlace;

void main()
{
    isf_vertShaderInit();
    // A bent picture is a little larger than the glass, so that its corners are cut round.
    fromMiddle = (isf_FragNormCoord * 2.0 - 1.0) * (1.0 + curve * 0.012);
    // Three pixels to a stripe of each colour, and never finer.
    stripePlace = isf_FragNormCoord * RENDERSIZE / 3.0;
}
