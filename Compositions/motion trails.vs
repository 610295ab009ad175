varying vec3 kept;

void main()
{
    isf_vertShaderInit();
    // A tenth is left after the length; what the tint lacks fades sooner.
    vec3 lasts = max(seconds * (0.35 + 0.65 * tint.rgb), 0.01);
    kept = exp2(-3.32 * min(TIMEDELTA, 0.2) / lasts);
}
