varying vec2 seed;
varying vec2 leakPlace;

// What is the same for every pixel is worked out here, four times a picture.
void main()
{
    isf_vertShaderInit();
    float frame = floor(TIME * 24.0);
    seed = vec2(mod(frame * 37.0, 113.0), mod(frame * 71.0, 127.0)) * 5.588;
    leakPlace = vec2(1.02 + 0.08 * sin(TIME * 0.31), 0.25 + 0.45 * sin(TIME * 0.17));
}
