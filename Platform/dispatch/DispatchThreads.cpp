#include "Platform/dispatch/DispatchThreads.h"

#include "Platform/dispatch/DispatchThreadStops.h"

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace {

struct Stops {
    std::mutex lock;
    std::vector<std::function<void()>> calls;
};

/// Never destroyed: threads may register while the process ends.
Stops& stops()
{
    static Stops& shared = *std::make_unique<Stops>().release();
    return shared;
}

}

void DispatchMain::whenThreadsStop(std::function<void()> stop)
{
    const std::lock_guard guard(stops().lock);
    stops().calls.push_back(std::move(stop));
}

void dispatchRunThreadStops()
{
    std::vector<std::function<void()>> calls;
    {
        const std::lock_guard guard(stops().lock);
        calls.swap(stops().calls);
    }
    for (const auto& call : calls)
        call();
}
