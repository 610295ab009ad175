varying float seed;
varying vec2 grainScale;
varying vec2 leakPlace;

// What is the same for every pixel is worked out here, four times a picture.
void main()
{
    isf_vertShaderInit();
    float frame = mod(floor(TIME * 24.0), 509.0);
    seed = fract(frame * 0.7548776662);
    grainScale = RENDERSIZE * vec2(0.06711056, 0.00583715);
    leakPlace = vec2(1.02 + 0.08 * sin(TIME * 0.31), 0.35 + 0.45 * sin(TIME * 0.17));
}
