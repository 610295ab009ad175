#pragma once

#include "Platform/Foundation/NSObject.h"
#include "Platform/dispatch/dispatch.h"

/// What a target-queue class offers: one process-wide queue, made on first use and never released, into which the named
/// queues of a family are funnelled. The classes register `targetQueue` as a message of the class.
class AVCaptureTargetQueueProtocol {
public:
    virtual ~AVCaptureTargetQueueProtocol() = default;

    /// The queue of a class that is known as an object; null if it is null or offers none.
    static dispatch_queue_t targetQueueOfClass(Class targetClass);
};

class AVCaptureDispatchTargetQueue : public NSObject, public AVCaptureTargetQueueProtocol {
    NS_OBJECT(AVCaptureDispatchTargetQueue)
public:
    static dispatch_queue_t targetQueue();
};

class AVCaptureDispatchSerialTargetQueue : public NSObject, public AVCaptureTargetQueueProtocol {
    NS_OBJECT(AVCaptureDispatchSerialTargetQueue)
public:
    static dispatch_queue_t targetQueue();
};

/// A queue of its own in front of the main queue.
class AVCaptureDispatchMainTargetQueue : public NSObject, public AVCaptureTargetQueueProtocol {
    NS_OBJECT(AVCaptureDispatchMainTargetQueue)
public:
    static dispatch_queue_t targetQueue();
};

/// Reading and writing files share it, so disk work never overlaps.
class AVCaptureDiskIOTargetQueue : public NSObject, public AVCaptureTargetQueueProtocol {
    NS_OBJECT(AVCaptureDiskIOTargetQueue)
public:
    static dispatch_queue_t targetQueue();
};

class AVCaptureRenderingTargetQueue : public NSObject, public AVCaptureTargetQueueProtocol {
    NS_OBJECT(AVCaptureRenderingTargetQueue)
public:
    static dispatch_queue_t targetQueue();
};
