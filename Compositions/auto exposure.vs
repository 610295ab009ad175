varying vec3 gain;
varying float learning;

void main()
{
    isf_vertShaderInit();
    learning = FRAMEINDEX == 0 ? 1.0 : 1.0 - exp2(-1.44 * min(TIMEDELTA, 1.0) / seconds);
    vec4 mean = max(IMG_NORM_PIXEL(measured, vec2(0.5)), 0.02);
    float light = dot(mean.rgb, vec3(0.30, 0.59, 0.11));
    vec3 lamp = clamp(light / mean.rgb, 0.6, 1.7);
    float lift = clamp(target / mean.a, 0.45, 3.5);
    gain = mix(vec3(1.0), lamp, balance) * mix(1.0, lift, exposure);
}
