#include "Platform/CoreFoundation/FailPoint.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>

namespace FailPoint {

namespace {

struct Point {
    std::int32_t status;
    std::uint64_t skip;
    std::uint64_t count;
    std::uint64_t passes = 0;
};

std::atomic<bool> anyArmed { false };
std::mutex lock;

std::map<std::string, Point, std::less<>>& points()
{
    static std::map<std::string, Point, std::less<>> map;
    return map;
}

}

void arm(std::string_view name, std::int32_t status, std::uint64_t skip, std::uint64_t count)
{
    const std::lock_guard guard(lock);
    points().insert_or_assign(std::string(name), Point { status, skip, count });
    anyArmed.store(true, std::memory_order_release);
}

void disarm(std::string_view name)
{
    const std::lock_guard guard(lock);
    if (const auto found = points().find(name); found != points().end())
        points().erase(found);
    anyArmed.store(!points().empty(), std::memory_order_release);
}

void disarmAll()
{
    const std::lock_guard guard(lock);
    points().clear();
    anyArmed.store(false, std::memory_order_release);
}

std::uint64_t passes(std::string_view name)
{
    const std::lock_guard guard(lock);
    const auto found = points().find(name);
    return found == points().end() ? 0 : found->second.passes;
}

std::optional<std::int32_t> check(std::string_view name)
{
    if (!anyArmed.load(std::memory_order_acquire))
        return std::nullopt;
    const std::lock_guard guard(lock);
    const auto found = points().find(name);
    if (found == points().end())
        return std::nullopt;
    auto& point = found->second;
    const auto pass = point.passes++;
    if (pass < point.skip || pass - point.skip >= point.count)
        return std::nullopt;
    return point.status;
}

}
