varying float along;
varying float place;
varying float present;

void main()
{
    isf_vertShaderInit();
    float before = IMG_NORM_PIXEL(clock, vec2(0.5)).r;
    // In the first pass the clock still has the last picture's time, in the others the present one.
    present = before;
    if (PASSINDEX == 0) {
        present = before + min(TIMEDELTA, 0.5);
        if (restart || present > seconds + rest)
            present = 0.0;
    }
    place = present / seconds;
    along = way == 0 ? 1.0 - isf_FragNormCoord.y : way == 1 ? isf_FragNormCoord.y
        : way == 2 ? isf_FragNormCoord.x : 1.0 - isf_FragNormCoord.x;
}
