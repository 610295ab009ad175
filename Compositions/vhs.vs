varying float seed;
varying vec2 band;

void main()
{
    isf_vertShaderInit();
    seed = fract(mod(floor(TIME * 25.0), 509.0) * 0.7548776662);
    // The band of noise wanders upwards, and waits out of sight between its ways.
    band = vec2(fract(TIME * 0.11 + 0.2) * 1.7 - 0.25, TIME * 1.7);
}
