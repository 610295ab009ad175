varying vec2 grainScale;
varying vec2 grainShift;

// Each picture looks at another part of the emulsion.
void main()
{
    isf_vertShaderInit();
    // Grains keep their size in the picture whatever its height.
    grainScale = RENDERSIZE * 720.0 / (RENDERSIZE.y * size * 512.0);
    float picture = mod(floor(TIME * rate), 1021.0);
    grainShift = fract(picture * vec2(0.7548776662, 0.5698402910));
}
