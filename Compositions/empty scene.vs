varying float hasRoom;

void main()
{
    isf_vertShaderInit();
    hasRoom = IMG_NORM_PIXEL(room, vec2(0.5)).a;
}
