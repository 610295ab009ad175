varying vec2 beam;
varying float decay;

// What is the same for every pixel is worked out here, four times a picture.
void main()
{
    isf_vertShaderInit();
    float turn = -TIME * speed * (6.2831853 / 60.0);
    beam = vec2(cos(turn), sin(turn));
    decay = 1.0 - 0.06 * (1.0 - afterglow) * min(TIMEDELTA * 30.0, 4.0);
}
