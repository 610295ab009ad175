#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"

/// The queues of the system's kinds of work. They differ in their target queue and in whether they drain at their end.

class AVCapturingQueue : public AVCaptureDispatchQueueSubclass<AVCapturingQueue> {
    NS_OBJECT(AVCapturingQueue)
public:
    using AVCaptureDispatchQueueSubclass::AVCaptureDispatchQueueSubclass;
    static Class targetQueueClass() { return AVCaptureDispatchTargetQueue::classObject(); }
};

class AVCaptureFileReadingQueue : public AVCaptureDispatchQueueSubclass<AVCaptureFileReadingQueue> {
    NS_OBJECT(AVCaptureFileReadingQueue)
public:
    using AVCaptureDispatchQueueSubclass::AVCaptureDispatchQueueSubclass;
    static Class targetQueueClass() { return AVCaptureDiskIOTargetQueue::classObject(); }
};

class AVCaptureFileWritingQueue : public AVCaptureDispatchQueueSubclass<AVCaptureFileWritingQueue> {
    NS_OBJECT(AVCaptureFileWritingQueue)
public:
    using AVCaptureDispatchQueueSubclass::AVCaptureDispatchQueueSubclass;
    static Class targetQueueClass() { return AVCaptureDiskIOTargetQueue::classObject(); }
};

class AVCaptureRenderingQueue : public AVCaptureDispatchQueueSubclass<AVCaptureRenderingQueue> {
    NS_OBJECT(AVCaptureRenderingQueue)
public:
    using AVCaptureDispatchQueueSubclass::AVCaptureDispatchQueueSubclass;
    static Class targetQueueClass() { return AVCaptureRenderingTargetQueue::classObject(); }
};

/// Work for the main thread. These queues do not drain at their end, since the main thread may be the one that ends them.
class AVCaptureDispatchMainQueue : public AVCaptureDispatchQueueSubclass<AVCaptureDispatchMainQueue> {
    NS_OBJECT(AVCaptureDispatchMainQueue)
public:
    using AVCaptureDispatchQueueSubclass::AVCaptureDispatchQueueSubclass;
    static Class targetQueueClass() { return AVCaptureDispatchMainTargetQueue::classObject(); }
    static bool defaultWaitsUntilEmpty() { return false; }

    /// Runs \p block at once on the main thread, ahead of anything already posted; else posts it.
    void asyncIfNotOnMainThread(dispatch_block_t block);
};
