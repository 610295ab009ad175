varying vec3 kept;
flat out float share;

void main()
{
    isf_vertShaderInit();
    // A tenth is left after the length; what the tint lacks fades sooner.
    vec3 lasts = max(seconds * (0.35 + 0.65 * tint.rgb), 0.01);
    share = dark ? -strength : strength;
    kept = exp2(-3.32 * min(TIMEDELTA, 0.2) / lasts);
}
