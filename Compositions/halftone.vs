varying vec2 toPicture;
varying vec2 cyanPlace;
varying vec2 magentaPlace;
varying vec2 yellowPlace;
varying float sharpness;

vec2 turnedBack(vec2 place, vec2 turn)
{
    return vec2(place.x * turn.x + place.y * turn.y, place.y * turn.x - place.x * turn.y);
}

// The places of this pixel on the three screens, counted in dots. They change evenly over the picture, so the corners
// are enough.
void main()
{
    isf_vertShaderInit();
    vec2 dots = size * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0);
    vec2 place = isf_FragNormCoord * dots;
    toPicture = 1.0 / dots;
    cyanPlace = turnedBack(place, colors == 1 ? vec2(0.7071, 0.7071) : vec2(0.9659, 0.2588));
    magentaPlace = turnedBack(place, vec2(0.2588, 0.9659));
    yellowPlace = place;
    sharpness = mix(RENDERSIZE.y / size * 0.7, 1.6, softness);
}
