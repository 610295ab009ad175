varying vec3 sensitivity;
varying float seed;
varying vec2 grainScale;

void main()
{
    isf_vertShaderInit();
    // What the film sees of red, green and blue behind the filter; each adds up to a little more than 1.
    sensitivity = vec3(0.32, 0.57, 0.14);
    if (lens == 1)
        sensitivity = vec3(0.48, 0.56, 0.0);
    else if (lens == 2)
        sensitivity = vec3(0.94, 0.14, -0.06);
    else if (lens == 3)
        sensitivity = vec3(0.12, 0.84, 0.08);
    else if (lens == 4)
        sensitivity = vec3(0.08, 0.26, 0.72);
    seed = fract(mod(floor(TIME * 24.0), 509.0) * 0.7548776662);
    grainScale = vec2(0.06711056, 0.00583715);
}
