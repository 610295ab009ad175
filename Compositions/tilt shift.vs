varying float fromFocus;

void main()
{
    isf_vertShaderInit();
    float angle = radians(tilt);
    vec2 away = (isf_FragNormCoord - vec2(0.5, middle)) * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0);
    fromFocus = dot(away, vec2(-sin(angle), cos(angle)));
}
