#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueueClassMessages.h"

/// A named serial queue that works as part of the process-wide queue of its target class, so that all work of one kind
/// excludes all other work of that kind.
///
/// The end of the object waits until everything posted has run, unless it was told not to. A closure that holds the
/// last reference to its own queue would therefore deadlock; owners outlive their closures.
class AVCaptureDispatchQueue : public AVCaptureDispatchQueueClassMessages<AVCaptureDispatchQueue, NSObject> {
    NS_OBJECT(AVCaptureDispatchQueue)
public:
    ~AVCaptureDispatchQueue() override;

    static Class targetQueueClass();
    static bool defaultWaitsUntilEmpty();

    /// The queue stays null if the class gives no target, which is reported, or the name is no string, which is not.
    AVCaptureDispatchQueue* initWithTargetClass_queueName_waitUntilEmpty(
        Class targetClass, CFTypeRef queueName, bool waitUntilEmpty);

    Class targetClass() const noexcept { return _targetClass; }
    dispatch_queue_t queue() const noexcept { return _queue.get(); }
    bool waitsUntilEmptyBeforeRelease() const noexcept { return _waitsUntilEmptyBeforeRelease; }
    void setWaitsUntilEmptyBeforeRelease(bool value);

    dispatch_queue_t targetQueue() const;
    /// Returns when everything posted before has run. Not to be called on the queue itself.
    void waitUntilQueueEmpty();
    void sync(const dispatch_block_t& block);
    void async(dispatch_block_t block);

private:
    Class _targetClass = nullptr;
    Ref<dispatch_queue> _queue;
    std::atomic<bool> _waitsUntilEmptyBeforeRelease { false };
};
