varying vec2 turn;

void main()
{
    isf_vertShaderInit();
    // Between the edges the turn is mixed from theirs: less than half a circle apart, or it would pass through nothing.
    float degrees = angle + TIME * speed * 6.0 + (isf_FragNormCoord.x - 0.5) * across * 170.0;
    turn = vec2(cos(radians(degrees)), sin(radians(degrees)));
}
