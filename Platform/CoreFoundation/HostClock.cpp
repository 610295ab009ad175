#include "Platform/CoreFoundation/HostClock.h"

#include <atomic>
#include <ctime>

namespace HostClock {

namespace {

std::atomic<bool> byHandFlag { false };
std::atomic<std::int64_t> handTime { 0 };
std::atomic<std::int64_t (*)()> timersNextDeadline { nullptr };
std::atomic<void (*)(std::int64_t)> timersFire { nullptr };
std::atomic<void (*)()> timersModeChanged { nullptr };

std::int64_t machineTime() noexcept
{
    timespec now {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}

std::int64_t nanoseconds() noexcept
{
    return byHandFlag.load(std::memory_order_acquire) ? handTime.load(std::memory_order_acquire) : machineTime();
}

bool isDrivenByHand() noexcept
{
    return byHandFlag.load(std::memory_order_acquire);
}

void driveByHand(bool byHand)
{
    handTime.store(machineTime(), std::memory_order_release);
    byHandFlag.store(byHand, std::memory_order_release);
    if (auto* const changed = timersModeChanged.load(std::memory_order_acquire))
        changed();
}

void advance(std::int64_t step)
{
    const std::int64_t end = handTime.load(std::memory_order_acquire) + step;
    if (auto* const next = timersNextDeadline.load(std::memory_order_acquire)) {
        auto* const fire = timersFire.load(std::memory_order_acquire);
        for (std::int64_t deadline = next(); deadline <= end; deadline = next()) {
            if (deadline > handTime.load(std::memory_order_acquire))
                handTime.store(deadline, std::memory_order_release);
            fire(handTime.load(std::memory_order_acquire));
        }
    }
    handTime.store(end, std::memory_order_release);
}

void setTimers(std::int64_t (*nextDeadline)(), void (*fire)(std::int64_t now), void (*modeChanged)())
{
    timersFire.store(fire, std::memory_order_release);
    timersModeChanged.store(modeChanged, std::memory_order_release);
    timersNextDeadline.store(nextDeadline, std::memory_order_release);
}

}
