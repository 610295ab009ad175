flat out vec4 key;
flat out vec2 keyWay;
flat out vec3 shine;
flat out float hasPicture;
varying vec2 fromLamp;
varying vec2 inPicture;

void main()
{
    isf_vertShaderInit();
    vec2 tint = vec2(dot(screen.rgb, vec3(-0.169, -0.331, 0.5)), dot(screen.rgb, vec3(0.5, -0.419, -0.081)));
    float reach = (0.25 + 0.75 * tolerance) * max(length(tint), 0.05);
    keyWay = normalize(tint + vec2(0.0001));
    shine = spill * (dot(screen.rgb, vec3(0.45)) - screen.rgb);
    key = vec4(tint, reach, 1.0 / (0.02 + softness * 0.3));
    // Without a picture there is one black pixel.
    vec2 size = IMG_SIZE(background);
    hasPicture = size.x > 1.5 ? 1.0 : 0.0;
    // It covers all, its largest middle part cut out.
    float wider = size.x * RENDERSIZE.y / (size.y * RENDERSIZE.x);
    inPicture = (isf_FragNormCoord - 0.5) * vec2(min(1.0, 1.0 / wider), min(1.0, wider)) + 0.5;
    fromLamp = (isf_FragNormCoord - vec2(0.5, 0.62)) * vec2(1.3, 1.1);
}
