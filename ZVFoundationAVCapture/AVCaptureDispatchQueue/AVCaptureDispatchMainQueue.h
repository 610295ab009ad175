#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchMainTargetQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"

/// Work for the main thread. These queues do not drain at their end, since the main thread may be the one that ends
/// them.
class AVCaptureDispatchMainQueue
    : public AVCaptureDispatchQueueClassMessages<AVCaptureDispatchMainQueue, AVCaptureDispatchQueue> {
    NS_OBJECT(AVCaptureDispatchMainQueue)
public:
    static Class targetQueueClass() { return AVCaptureDispatchMainTargetQueue::classObject(); }
    static bool defaultWaitsUntilEmpty() { return false; }

    /// Runs \p block at once on the main thread, ahead of anything already posted; else posts it.
    void asyncIfNotOnMainThread(dispatch_block_t block);
};
