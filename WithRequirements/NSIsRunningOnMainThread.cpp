#include "WithRequirements/NSIsRunningOnMainThread.h"

#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "Platform/Foundation/NSThread.h"

bool __NSIsRunningOnMainQueue()
{
    return dispatch_queue_get_label(nullptr) == dispatch_queue_get_label(dispatch_get_main_queue());
}

bool __NSIsRunningOnMainThread()
{
    const bool onMainThread = NSThread::isMainThread();
    auto* const current = NSOperationQueue::currentQueue();
    const bool onMainOperationQueue = current && current->isEqual(NSOperationQueue::mainQueue());
    const bool onMainQueue = __NSIsRunningOnMainQueue();
    return onMainThread || onMainOperationQueue || onMainQueue;
}
