varying vec2 textPlace;

void main()
{
    isf_vertShaderInit();
    int count = form == 0 ? 19 : form == 1 ? 10 : 8;
    // The strip of text has twenty fields, each half as wide as high with its margins; it may not be wider than the picture.
    float size = min(height * 0.0145, 0.94 * RENDERSIZE.x / RENDERSIZE.y / (float(count) * 0.345));
    vec2 strip = vec2(20.0 * 0.345 * RENDERSIZE.y / RENDERSIZE.x, 1.0) * size;
    vec2 origin = vec2(0.985, 0.03);
    origin.x -= strip.x;
    if (corner == 1 || corner == 3)
        origin.x = 0.015 - strip.x * (19.5 - float(count)) / 20.0;
    if (corner > 1)
        origin.y = 0.97 - strip.y;
    textPlace = (isf_FragNormCoord - origin) / strip;
}
