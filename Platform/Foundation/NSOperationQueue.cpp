#include "Platform/Foundation/NSOperationQueue.h"

#include "Platform/Foundation/NSThread.h"

NS_IMPLEMENTATION(NSOperationQueue, NSObject) { }

NSOperationQueue* NSOperationQueue::mainQueue()
{
    static NSOperationQueue* const queue = [] {
        auto made = make<NSOperationQueue>();
        made->makeImmortal();
        return made.leak();
    }();
    return queue;
}

NSOperationQueue* NSOperationQueue::currentQueue()
{
    return NSThread::isMainThread() ? mainQueue() : nullptr;
}
