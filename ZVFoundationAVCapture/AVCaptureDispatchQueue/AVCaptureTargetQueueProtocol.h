#pragma once

#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSObject.h"

/// What a target-queue class offers: one process-wide queue, made on first use and never released, into which the named
/// queues of a family are funnelled. The classes register `targetQueue` as a message of the class.
class AVCaptureTargetQueueProtocol {
public:
    virtual ~AVCaptureTargetQueueProtocol() = default;

    /// The queue of a class that is known as an object; null if it is null or offers none.
    static dispatch_queue_t targetQueueOfClass(Class targetClass);
};
