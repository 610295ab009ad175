varying vec2 from;
varying vec2 toPicture;

void main()
{
    isf_vertShaderInit();
    float turn = radians(angle);
    vec2 axis = vec2(cos(turn), sin(turn));
    float shape = RENDERSIZE.x / RENDERSIZE.y;
    // A turned frame fits into the picture when its corners do.
    float needed = max(axis.x + abs(axis.y) * shape, axis.x + abs(axis.y) / shape);
    float lean = 1.0 - 0.28 * (abs(upright) * 0.5 + abs(sideways) * 0.5 * shape);
    float zoom = crop ? needed / max(lean, 0.4) : 1.0;
    vec2 place = (isf_FragNormCoord - 0.5) * vec2(shape, 1.0) / zoom;
    from = vec2(place.x * axis.x - place.y * axis.y, place.x * axis.y + place.y * axis.x);
    toPicture = vec2(1.0 / shape, 1.0);
}
