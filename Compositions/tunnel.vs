varying vec2 logs;

void main()
{
    isf_vertShaderInit();
    logs = vec2(log2(shrink), fract(TIME * speed));
}
