varying vec4 turned;

void main()
{
    isf_vertShaderInit();
    // The tube turns over what it looks at; the two axes of the wedge in the picture's own measure.
    float angle = 0.6 + TIME * speed * (6.2831853 / 60.0);
    float shape = RENDERSIZE.y / RENDERSIZE.x;
    turned = vec4(cos(angle) * shape, sin(angle), -sin(angle) * shape, cos(angle));
}
