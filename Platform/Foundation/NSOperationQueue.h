#pragma once

#include "Platform/Foundation/NSObject.h"

/// What is asked of operation queues: whether the caller runs on the main one. No other operation queue exists here.
class NSOperationQueue : public NSObject {
    NS_OBJECT(NSOperationQueue)
public:
    /// The one object that stands for the main thread's operations; never null.
    static NSOperationQueue* mainQueue();
    /// The main queue on the main thread, else null. From any thread.
    static NSOperationQueue* currentQueue();
};
