varying vec2 beam;
varying float beamWidth;
varying float decay;

// What is the same for every pixel is worked out here, four times a picture.
void main()
{
    isf_vertShaderInit();
    float perSecond = speed * (6.2831853 / 60.0);
    float turn = -TIME * perSecond;
    beam = vec2(cos(turn), sin(turn));
    // The beam reaches back to where it was at the last picture, and a little more.
    beamWidth = tan(min(0.02 + perSecond * TIMEDELTA * 1.3, 1.2));
    decay = 1.0 - 0.05 * (1.02 - afterglow) * min(TIMEDELTA * 30.0, 4.0);
}
