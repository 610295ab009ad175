varying vec2 dotPlace;

void main()
{
    isf_vertShaderInit();
    // A grid of dots that stands on its corner, a hundred and thirty to the height.
    vec2 place = isf_FragNormCoord * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0) * 92.0;
    dotPlace = vec2(place.x + place.y, place.x - place.y);
}
