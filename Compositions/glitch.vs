varying float seed;
varying float burst;

void main()
{
    isf_vertShaderInit();
    float moment = mod(floor(TIME * speed), 4093.0);
    seed = fract(moment * 0.7548776662 + 0.13);
    // Bursts come and go within two seconds or so; between them a little is always wrong.
    float weather = sin(TIME * 2.7) + sin(TIME * 4.9 + 1.0) + 0.6 * sin(TIME * 11.3);
    burst = clamp(0.22 + often * 1.1 + weather * 0.32 - 0.35, 0.12 * often, 1.0);
}
