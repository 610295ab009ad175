varying vec2 fromMiddle;
flat out vec4 firstFolds;
flat out vec4 lastFolds;
flat out vec4 turned;

// The normal of the mirror that halves the half wedges that are left, and how many are left then. A half wedge is half
// a petal; with one left there is nothing to fold.
vec2 halve(inout float left, float halfWedge)
{
    if (left < 1.5)
        return vec2(0.0);
    left = ceil(left * 0.5);
    return vec2(-sin(left * halfWedge), cos(left * halfWedge));
}

void main()
{
    isf_vertShaderInit();
    fromMiddle = (isf_FragNormCoord - 0.5) * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0) / zoom;
    // Four mirrors fold half a turn of up to sixteen half wedges into one.
    float left = floor(mirrors + 0.5);
    float halfWedge = 3.14159265 / left;
    firstFolds.xy = halve(left, halfWedge);
    firstFolds.zw = halve(left, halfWedge);
    lastFolds.xy = halve(left, halfWedge);
    lastFolds.zw = halve(left, halfWedge);
    // The tube turns over what it looks at; the two axes of the wedge in the picture's own measure.
    float angle = 0.6 + TIME * speed * (6.2831853 / 60.0);
    float shape = RENDERSIZE.y / RENDERSIZE.x;
    turned = vec4(cos(angle) * shape, sin(angle), -sin(angle) * shape, cos(angle));
}
