#pragma once

#include "Platform/CoreFoundation/CFType.h"

#include <functional>
#include <memory>

/// Serial queues of work, the main queue, and timers.
///
/// Every queue made here is serial: its work items run one at a time, in the order in which they were posted, each in
/// an autorelease pool of its own. A queue with a target runs its items as part of the target, so two queues with one
/// target never overlap. Queues without a target run on a pool of threads. Closures are destroyed on the queue right
/// after they ran. One that lets an exception out ends the program.
///
/// The two types show only that they are counted objects; what they are made of derives from them inside.
class dispatch_queue : public CFType {
protected:
    dispatch_queue() = default;
};
class dispatch_source : public CFType {
protected:
    dispatch_source() = default;
};
using dispatch_queue_t = dispatch_queue*;
using dispatch_source_t = dispatch_source*;
using dispatch_block_t = std::function<void()>;
/// Nanoseconds on the host clock.
using dispatch_time_t = std::uint64_t;

inline constexpr dispatch_time_t DISPATCH_TIME_NOW = 0;
inline constexpr dispatch_time_t DISPATCH_TIME_FOREVER = ~dispatch_time_t { 0 };
inline constexpr std::uint64_t NSEC_PER_SEC = 1'000'000'000;

/// A new serial queue. \p label is copied.
/// \return null where the platform fails ("dispatch_queue_create")
Ref<dispatch_queue> dispatch_queue_create(const char* label, const void* attributes = nullptr);
/// To be called before the queue gets work. A null target is the pool of threads.
void dispatch_set_target_queue(dispatch_queue_t queue, dispatch_queue_t target);
/// The queue's label, the same pointer each time; of the queue that runs on this thread for null, "" when none does.
const char* dispatch_queue_get_label(dispatch_queue_t queue);
dispatch_queue_t dispatch_get_main_queue();

/// Posts \p block and returns at once.
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
/// Runs \p block on \p queue after all that was posted before, and returns when it has run. Called from that queue, or
/// from a queue that it targets, it would wait for itself: debug builds say so and end the program.
void dispatch_sync(dispatch_queue_t queue, const dispatch_block_t& block);
/// Posts \p block when \p when has come.
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);

/// \p when (0: now) plus \p delta nanoseconds.
dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t delta);

/// A timer source on \p queue, suspended. Its last reference stops it.
/// \return null where the platform fails ("dispatch_source_create")
Ref<dispatch_source> dispatch_source_create_timer(dispatch_queue_t queue);
/// First event at \p start, then every \p interval nanoseconds from it without drift (0 or DISPATCH_TIME_FOREVER: one
/// event). Events missed while one waits to run count as one. The leeway is permission to be late; none is taken, but
/// the source's description tells it.
void dispatch_source_set_timer(
    dispatch_source_t source, dispatch_time_t start, std::uint64_t interval, std::uint64_t leeway);
void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler);
/// Starts a source; does nothing for null.
void dispatch_resume(dispatch_source_t source);
/// No event starts after this returns, except one that already runs.
void dispatch_source_cancel(dispatch_source_t source);

/// What the owner of the main thread needs.
namespace DispatchMain {

/// Makes the calling thread the main thread. The thread that loads the program is it from the start.
void adoptCurrentThread();
bool isMainThread() noexcept;
/// Called, from any thread, when the empty main queue gets work; an event loop then calls `drain` on the main thread.
void setWakeUp(std::function<void()> wakeUp);
/// Runs what was posted to the main queue before the call.
void drain();
/// A plain loop for programs without an event loop: runs the main queue until \p done answers true (asked after each
/// drain) or the machine's clock has moved by \p seconds; says whether \p done was met.
bool runUntil(const std::function<bool()>& done, double seconds);
/// Stops the threads of pool and timers when their present items have run; posted work that has not started is kept
/// and never runs. For the end of the process: `exit` calls it, ahead of the destructors of static objects, where
/// nobody has before.
void stopThreads();

}

/// Ends the program, in debug builds, unless it runs on \p queue or on a queue that targets it.
void assertOnQueue(dispatch_queue_t queue);
bool isRunningOnQueue(dispatch_queue_t queue);
