varying vec2 wanted;

void main()
{
    isf_vertShaderInit();
    float light = dot(kept.rgb, vec3(0.299, 0.587, 0.114));
    vec2 tint = vec2(kept.b - light, kept.r - light);
    // A grey has no hue to stay; red stands in.
    wanted = dot(tint, tint) > 1e-5 ? normalize(tint) : vec2(-0.39, 0.92);
}
