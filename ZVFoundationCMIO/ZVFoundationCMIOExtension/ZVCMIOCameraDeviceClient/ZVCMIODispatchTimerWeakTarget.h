#pragma once

#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSObject.h"

#include <mutex>

/// A repeating timer that holds its target weakly. All timers of the process tick on one serial queue, `sTimerQueue`,
/// so their work never overlaps.
class ZVCMIODispatchTimerWeakTarget : public NSObject {
    NS_OBJECT(ZVCMIODispatchTimerWeakTarget)
public:
    /// The work of a tick; gets the target, or null if that went between two looks at it.
    using Block = std::function<void(NSObject* target)>;

    ZVCMIODispatchTimerWeakTarget() = default;
    ~ZVCMIODispatchTimerWeakTarget() override;

    /// \param interval  seconds between ticks
    static Ref<ZVCMIODispatchTimerWeakTarget> timerWithTarget_interval_block(
        NSObject* target, double interval, Block timerBlock);
    ZVCMIODispatchTimerWeakTarget* initWithTarget_interval_block(NSObject* target, double interval, Block timerBlock);

    void startTimer();
    void stopTimer();
    /// Does nothing.
    void startTimerWithBlock(const Block& timerBlock);
    void _dispatchTimer();

    Ref<NSObject> weakTarget() const { return _weakTarget.strongReference(); }
    double timerInterval() const { return _timerInterval; }

    /// The queue of all ticks.
    static dispatch_queue_t sTimerQueue();

private:
    WeakRef<NSObject> _weakTarget;
    Ref<dispatch_source> _timerDispatch;
    Block _timerBlock;
    double _timerInterval = 0;
};
