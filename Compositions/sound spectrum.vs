varying vec2 inField;

void main()
{
    isf_vertShaderInit();
    // Where the bars are: across, from 0 to 1 or on both sides of the middle; and from their foot, 1 at their height.
    float fromFoot = place == 0 ? isf_FragNormCoord.y : place == 2 ? 1.0 - isf_FragNormCoord.y : isf_FragNormCoord.y * 2.0 - 1.0;
    inField = vec2(mirrored ? isf_FragNormCoord.x * 2.0 - 1.0 : isf_FragNormCoord.x, fromFoot / (height * 0.01));
}
