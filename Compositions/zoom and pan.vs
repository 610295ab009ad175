varying vec2 there;

void main()
{
    isf_vertShaderInit();
    float near = zoom * (1.0 + drift * 0.18 * (1.0 - cos(TIME * 0.22)));
    vec2 wanted = middle + drift * 0.07 * vec2(sin(TIME * 0.17), sin(TIME * 0.13)) / near;
    // The part that is shown stays within the picture.
    vec2 reach = vec2(0.5 / near);
    there = clamp(wanted, reach, 1.0 - reach) + (isf_FragNormCoord - 0.5) / near;
}
