#pragma once

#include "Platform/CoreFoundation/CFString.h"

/// A point in time or a duration as a fraction of a second.
struct CMTime {
    std::int64_t value = 0;
    std::int32_t timescale = 0;
    std::uint32_t flags = 0; ///< bit 0: valid
    std::int64_t epoch = 0;
};

inline constexpr CMTime kCMTimeInvalid {};
inline constexpr CMTime kCMTimeZero { 0, 1, 1, 0 };

inline constexpr bool CMTIME_IS_VALID(const CMTime& time)
{
    return (time.flags & 1) != 0;
}

CMTime CMTimeMake(std::int64_t value, std::int32_t timescale);
CMTime CMTimeMakeWithSeconds(double seconds, std::int32_t timescale);
CMTime CMTimeAdd(const CMTime& a, const CMTime& b);
CMTime CMTimeSubtract(const CMTime& a, const CMTime& b);
/// -1, 0 or 1 as \p a is before, at or after \p b; exact for every pair of timescales. An invalid time comes first.
std::int32_t CMTimeCompare(const CMTime& a, const CMTime& b);
double CMTimeGetSeconds(const CMTime& time);
/// "{value/timescale = seconds}" with three decimals, "{INVALID}" for an invalid time; null where the platform
/// fails ("CMTimeCopyDescription").
Ref<CFString> CMTimeCopyDescription(CFAllocatorRef allocator, const CMTime& time);

/// The clock that stamps samples.
class CMClock final : public CFType { };
using CMClockRef = CMClock*;
CMClockRef CMClockGetHostTimeClock();
/// The clock's time with a timescale of 1,000,000,000.
CMTime CMClockGetTime(CMClockRef clock);
