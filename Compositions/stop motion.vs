varying vec2 clockNow;
varying float brightness;
varying vec2 shift;

void main()
{
    isf_vertShaderInit();
    // Red: seconds since the last picture; green: how many there were, plus one.
    clockNow = IMG_NORM_PIXEL(clock, vec2(0.5)).rg;
    if (PASSINDEX == 0) {
        clockNow.x += TIMEDELTA;
        // The very first picture is taken whatever the switch says.
        if (clockNow.y < 0.5 || (!freeze && clockNow.x >= 1.0 / rate - 0.005))
            clockNow = vec2(0.0, mod(clockNow.y, 997.0) + 1.0);
    }
    vec2 dice = fract(clockNow.y * vec2(0.7548776662, 0.5698402910)) - 0.5;
    brightness = 1.04 + dice.x * 0.10 + flash * 0.55 * exp2(-clockNow.x * 18.0);
    shift = dice * shake * 0.012;
}
