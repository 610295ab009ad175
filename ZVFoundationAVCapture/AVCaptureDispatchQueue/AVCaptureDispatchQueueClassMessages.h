#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchSerialTargetQueue.h"

class AVCaptureDispatchQueue;

/// The class messages that make queues, with \p Self as the receiver, which decides the name, the target and whether
/// the queue drains at its end. Each class of the family stands on one of these, \p Base being its superclass, and adds
/// `targetQueueClass` and `defaultWaitsUntilEmpty` where they differ.
///
/// Each message gives a new object that the innermost pool keeps.
template <class Self, class Base> class AVCaptureDispatchQueueClassMessages : public Base {
public:
    /// The class message `queue`: named as the class, on the serial target queue, for every subclass too.
    static Self* queueOfClass() { return queueWithTargetClass(AVCaptureDispatchSerialTargetQueue::classObject()); }
    static Self* queueWithNameThatDoesNotWaitUntilEmpty(CFTypeRef queueName)
    {
        return queueWithName_waitUntilEmpty(queueName, false);
    }
    static Self* queueWithName_waitUntilEmpty(CFTypeRef queueName, bool waitUntilEmpty)
    {
        return queueWithTargetClass_queueName_waitUntilEmpty(Self::targetQueueClass(), queueName, waitUntilEmpty);
    }
    static Self* queueWithName(CFTypeRef queueName)
    {
        return queueWithName_waitUntilEmpty(queueName, Self::defaultWaitsUntilEmpty());
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
        auto queue = make<Self>();
        queue->initWithTargetClass_queueName_waitUntilEmpty(targetClass, queueName, waitUntilEmpty);
        return autorelease(std::move(queue));
    }

protected:
    /// For callers that hold the class as an object.
    static void registerClassMessages(NSClassBuilder<Self>& type)
    {
        using Queue = AVCaptureDispatchQueue;
        type.classMessage("targetQueueClass", &Self::targetQueueClass);
        type.classMessage("defaultWaitsUntilEmpty", &Self::defaultWaitsUntilEmpty);
        type.classMessage(
            "queue", +[]() -> Queue* { return queueOfClass(); });
        type.classMessage(
            "queueWithNameThatDoesNotWaitUntilEmpty:", +[](CFTypeRef name) -> Queue* {
                return queueWithNameThatDoesNotWaitUntilEmpty(name);
            });
        type.classMessage(
            "queueWithName:waitUntilEmpty:", +[](CFTypeRef name, bool wait) -> Queue* {
                return queueWithName_waitUntilEmpty(name, wait);
            });
        type.classMessage(
            "queueWithName:", +[](CFTypeRef name) -> Queue* { return queueWithName(name); });
        type.classMessage(
            "queueWithTargetClass:", +[](Class target) -> Queue* { return queueWithTargetClass(target); });
        type.classMessage(
            "queueWithTargetClass:queueName:", +[](Class target, CFTypeRef name) -> Queue* {
                return queueWithTargetClass_queueName(target, name);
            });
        type.classMessage(
            "queueWithTargetClass:queueName:waitUntilEmpty:", +[](Class target, CFTypeRef name, bool wait) -> Queue* {
                return queueWithTargetClass_queueName_waitUntilEmpty(target, name, wait);
            });
    }
};
