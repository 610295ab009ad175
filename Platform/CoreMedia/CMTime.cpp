#include "Platform/CoreMedia/CMTime.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"

#include <cmath>
#include <cstdio>
#include <numeric>

namespace {

// Both arguments carry 64-bit values over 32-bit timescales: products and sums need more than 64 bits.
__extension__ using Wide = __int128;

constexpr std::int32_t largestTimescale = 2147483647;
constexpr std::int32_t coarserTimescale = 1'000'000'000;

CMTime combined(const CMTime& a, const CMTime& b, int sign)
{
    if (!CMTIME_IS_VALID(a) || !CMTIME_IS_VALID(b))
        return kCMTimeInvalid;
    if (a.timescale == b.timescale)
        return { a.value + sign * b.value, a.timescale, 1, a.epoch };
    const std::int64_t common = std::lcm<std::int64_t, std::int64_t>(a.timescale, b.timescale);
    const Wide value = Wide { a.value } * (common / a.timescale) + sign * Wide { b.value } * (common / b.timescale);
    if (common <= largestTimescale)
        return { static_cast<std::int64_t>(value), static_cast<std::int32_t>(common), 1, a.epoch };
    // No common timescale fits: the result is rounded to nanoseconds.
    return { static_cast<std::int64_t>(value * coarserTimescale / common), coarserTimescale, 1, a.epoch };
}

}

CMTime CMTimeMake(std::int64_t value, std::int32_t timescale)
{
    return { value, timescale, timescale > 0 ? 1U : 0U, 0 };
}

CMTime CMTimeMakeWithSeconds(double seconds, std::int32_t timescale)
{
    return CMTimeMake(static_cast<std::int64_t>(std::llround(seconds * timescale)), timescale);
}

CMTime CMTimeAdd(const CMTime& a, const CMTime& b)
{
    return combined(a, b, 1);
}

CMTime CMTimeSubtract(const CMTime& a, const CMTime& b)
{
    return combined(a, b, -1);
}

std::int32_t CMTimeCompare(const CMTime& a, const CMTime& b)
{
    if (!CMTIME_IS_VALID(a) || !CMTIME_IS_VALID(b))
        return static_cast<std::int32_t>(CMTIME_IS_VALID(a)) - static_cast<std::int32_t>(CMTIME_IS_VALID(b));
    const Wide left = Wide { a.value } * b.timescale;
    const Wide right = Wide { b.value } * a.timescale;
    return left < right ? -1 : left > right ? 1 : 0;
}

double CMTimeGetSeconds(const CMTime& time)
{
    return CMTIME_IS_VALID(time) ? static_cast<double>(time.value) / time.timescale : std::nan("");
}

Ref<CFString> CMTimeCopyDescription(CFAllocatorRef /*allocator*/, const CMTime& time)
{
    if (FAIL_POINT("CMTimeCopyDescription"))
        return nullptr;
    if (!CMTIME_IS_VALID(time))
        return CFString::create("{INVALID}");
    char text[80];
    std::snprintf(text, sizeof text, "{%lld/%d = %.3f}", static_cast<long long>(time.value), time.timescale,
        CMTimeGetSeconds(time));
    return CFString::create(text);
}

CMClockRef CMClockGetHostTimeClock()
{
    static CMClock* const clock = [] {
        auto made = make<CMClock>();
        made->makeImmortal();
        return made.leak();
    }();
    return clock;
}

CMTime CMClockGetTime(CMClockRef /*clock*/)
{
    return CMTimeMake(HostClock::nanoseconds(), 1'000'000'000);
}
