varying vec2 fromStone;
flat out vec2 run;

void main()
{
    isf_vertShaderInit();
    fromStone = (isf_FragNormCoord - middle) * vec2(RENDERSIZE.x / RENDERSIZE.y, 1.0);
    // How many waves there are to a height of the picture, and how far they have come.
    run = vec2(rings, fract(TIME * speed * -0.954929659));
}
