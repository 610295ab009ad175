varying vec2 fromMirror;
varying vec2 side;
varying vec2 mirror;

void main()
{
    isf_vertShaderInit();
    // 1 where coordinates right of or above the mirror are kept, -1 for the other ones, 0 where there is no mirror.
    side = kept == 0 ? vec2(-1.0, 0.0) : kept == 1 ? vec2(1.0, 0.0) : kept == 2 ? vec2(0.0, 1.0)
        : kept == 3 ? vec2(0.0, -1.0) : vec2(-1.0, 1.0);
    mirror = vec2(place, kept > 1 && kept < 4 ? place : 0.5);
    fromMirror = isf_FragNormCoord - mirror;
}
