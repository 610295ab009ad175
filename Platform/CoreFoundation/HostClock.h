#pragma once

#include <cstdint>

inline constexpr std::int64_t nanosecondsInSecond = 1'000'000'000;

/// The host's monotonic clock in nanoseconds, the one time base of sample stamps and timers.
///
/// Tests can drive it by hand; then time stands still between steps and timer sources fire inside `advance`.
namespace HostClock {

std::int64_t nanoseconds() noexcept;
bool isDrivenByHand() noexcept;
/// Stops the clock at its present time (true) or lets it follow the machine again (false).
void driveByHand(bool byHand);
/// Moves a hand-driven clock on, stopping at each timer deadline on the way; returns when the timers' events have been
/// posted to their queues.
void advance(std::int64_t nanoseconds);

/// How the timers hear of steps of a hand-driven clock: \p nextDeadline answers the earliest one (INT64_MAX for none),
/// \p fire posts the events of all that are due. Set once by the timers.
void setTimers(std::int64_t (*nextDeadline)(), void (*fire)(std::int64_t now), void (*modeChanged)());

}
