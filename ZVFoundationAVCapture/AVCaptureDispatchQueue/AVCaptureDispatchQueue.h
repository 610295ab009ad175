#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchSerialTargetQueue.h"

/// A named serial queue that works as part of the process-wide queue of its target class, so that all work of one kind
/// excludes all other work of that kind.
///
/// The end of the object waits until everything posted has run, unless it was told not to. A closure that holds the
/// last reference to its own queue would therefore deadlock; owners outlive their closures.
class AVCaptureDispatchQueue : public NSObject {
    NS_OBJECT(AVCaptureDispatchQueue)
public:
    /// The queue stays null if the class gives no target, which is reported, or the name is no string, which is not.
    AVCaptureDispatchQueue(Class targetClass, CFTypeRef queueName, bool waitUntilEmpty);
    ~AVCaptureDispatchQueue() override;

    static Class targetQueueClass();
    static bool defaultWaitsUntilEmpty();

    // Each of these gives a new object that the innermost pool keeps. Subclasses offer the same.

    /// The class message `queue`: named as the class, on the serial target queue, for every subclass too.
    static AVCaptureDispatchQueue* queueOfClass();
    static AVCaptureDispatchQueue* queueWithNameThatDoesNotWaitUntilEmpty(CFTypeRef queueName);
    static AVCaptureDispatchQueue* queueWithName(CFTypeRef queueName);
    static AVCaptureDispatchQueue* queueWithName_waitUntilEmpty(CFTypeRef queueName, bool waitUntilEmpty);
    static AVCaptureDispatchQueue* queueWithTargetClass(Class targetClass);
    static AVCaptureDispatchQueue* queueWithTargetClass_queueName(Class targetClass, CFTypeRef queueName);
    static AVCaptureDispatchQueue* queueWithTargetClass_queueName_waitUntilEmpty(
        Class targetClass, CFTypeRef queueName, bool waitUntilEmpty);

    Class targetClass() const noexcept { return _targetClass; }
    dispatch_queue_t queue() const noexcept { return _queue.get(); }
    bool waitsUntilEmptyBeforeRelease() const noexcept { return _waitsUntilEmptyBeforeRelease; }
    void setWaitsUntilEmptyBeforeRelease(bool value) noexcept { _waitsUntilEmptyBeforeRelease = value; }

    dispatch_queue_t targetQueue() const;
    /// Returns when everything posted before has run. Not to be called on the queue itself.
    void waitUntilQueueEmpty();
    void sync(const dispatch_block_t& block);
    void async(dispatch_block_t block);

private:
    Class _targetClass;
    Ref<dispatch_queue> _queue;
    std::atomic<bool> _waitsUntilEmptyBeforeRelease;
};

/// The class messages of `AVCaptureDispatchQueue` with \p Self as the receiver, which decides name, target and whether
/// the queue drains at its end.
template <class Self> class AVCaptureDispatchQueueSubclass : public AVCaptureDispatchQueue {
public:
    using AVCaptureDispatchQueue::AVCaptureDispatchQueue;

    static Self* queueOfClass() { return queueWithTargetClass(AVCaptureDispatchSerialTargetQueue::classObject()); }
    static Self* queueWithNameThatDoesNotWaitUntilEmpty(CFTypeRef queueName)
    {
        return queueWithName_waitUntilEmpty(queueName, false);
    }
    static Self* queueWithName(CFTypeRef queueName)
    {
        return queueWithName_waitUntilEmpty(queueName, Self::defaultWaitsUntilEmpty());
    }
    static Self* queueWithName_waitUntilEmpty(CFTypeRef queueName, bool waitUntilEmpty)
    {
        return queueWithTargetClass_queueName_waitUntilEmpty(Self::targetQueueClass(), queueName, waitUntilEmpty);
    }
    static Self* queueWithTargetClass(Class targetClass)
    {
        return queueWithTargetClass_queueName(targetClass, NSStringFromClass(Self::classObject()).get());
    }
    static Self* queueWithTargetClass_queueName(Class targetClass, CFTypeRef queueName)
    {
        return queueWithTargetClass_queueName_waitUntilEmpty(targetClass, queueName, Self::defaultWaitsUntilEmpty());
    }
    static Self* queueWithTargetClass_queueName_waitUntilEmpty(
        Class targetClass, CFTypeRef queueName, bool waitUntilEmpty)
    {
        return autorelease(make<Self>(targetClass, queueName, waitUntilEmpty));
    }
};
