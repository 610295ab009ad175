flat out float taking;
flat out vec2 shares;
varying vec3 lamps;

void main()
{
    isf_vertShaderInit();
    float turns = TIME * rate;
    float since = fract(turns);
    // The picture is taken at the flash, or at the first one that comes.
    taking = since < max(TIMEDELTA, 0.001) * rate || FRAMEINDEX == 0 ? 1.0 : 0.0;
    float flash = exp2(-since * 5.0) * (0.25 + 0.75 * strength);
    float lit = (1.0 - flash) * strength;
    // What the present and the held picture have of the result; under the lamps little is left of the present one.
    shares = vec2(1.0 - flash - 0.72 * lit + 1.2 * flash * (1.0 - hold), 1.15 * flash * hold);
    float side = 0.5 + 0.5 * sin((isf_FragNormCoord.x * 2.4 + TIME * 1.3) * 1.5);
    lamps = mix(first.rgb, second.rgb, side) * 1.25 * lit;
}
