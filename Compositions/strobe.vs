flat out float flash;
flat out float taking;
varying vec3 lamps;

void main()
{
    isf_vertShaderInit();
    float turns = TIME * rate;
    float since = fract(turns);
    // The picture is taken at the flash, or at the first one that comes.
    taking = since < max(TIMEDELTA, 0.001) * rate || FRAMEINDEX == 0 ? 1.0 : 0.0;
    flash = exp2(-since * 5.0);
    float side = 0.5 + 0.5 * sin((isf_FragNormCoord.x * 2.4 + TIME * 1.3) * 1.5);
    lamps = mix(first.rgb, second.rgb, side) * 1.25;
}
