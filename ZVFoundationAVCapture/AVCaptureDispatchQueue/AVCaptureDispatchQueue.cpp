#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"

#include "WithRequirements/Requirements.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchFunctions.h"

NS_IMPLEMENTATION(AVCaptureDispatchQueue, NSObject)
{
    type.classMessage("targetQueueClass", &AVCaptureDispatchQueue::targetQueueClass);
    type.classMessage("defaultWaitsUntilEmpty", &AVCaptureDispatchQueue::defaultWaitsUntilEmpty);
    type.message("waitUntilQueueEmpty", &AVCaptureDispatchQueue::waitUntilQueueEmpty);
    type.message("targetQueue", &AVCaptureDispatchQueue::targetQueue);
    type.message("sync:", &AVCaptureDispatchQueue::sync);
    type.message("async:", &AVCaptureDispatchQueue::async);
    type.key("targetClass", &AVCaptureDispatchQueue::targetClass);
    type.key("queue", &AVCaptureDispatchQueue::queue);
    type.key("waitsUntilEmptyBeforeRelease", &AVCaptureDispatchQueue::waitsUntilEmptyBeforeRelease,
        &AVCaptureDispatchQueue::setWaitsUntilEmptyBeforeRelease);
}

AVCaptureDispatchQueue::AVCaptureDispatchQueue(Class targetClass, CFTypeRef queueName, bool waitUntilEmpty)
    : _targetClass(targetClass)
    , _waitsUntilEmptyBeforeRelease(waitUntilEmpty)
{
    auto* const target = targetQueue();
    if (!DispatchRequiredIn("initWithTargetClass", target, "target_queue"))
        return;
    auto* const name = kindOf<CFString>(queueName);
    if (!name)
        return;
    _queue = avcapture_dispatch_queue_create_serial_with_target(name->string().c_str(), target);
    DispatchRequiredIn("initWithTargetClass", _queue, "_queue");
}

AVCaptureDispatchQueue::~AVCaptureDispatchQueue()
{
    if (_waitsUntilEmptyBeforeRelease)
        waitUntilQueueEmpty();
    DispatchRequiredIn("dealloc", _queue, "_queue");
    _queue = nullptr;
    _targetClass = nullptr;
}

Class AVCaptureDispatchQueue::targetQueueClass()
{
    return AVCaptureDispatchSerialTargetQueue::classObject();
}

bool AVCaptureDispatchQueue::defaultWaitsUntilEmpty()
{
    return true;
}

AVCaptureDispatchQueue* AVCaptureDispatchQueue::queueOfClass()
{
    return queueWithTargetClass(AVCaptureDispatchSerialTargetQueue::classObject());
}

AVCaptureDispatchQueue* AVCaptureDispatchQueue::queueWithNameThatDoesNotWaitUntilEmpty(CFTypeRef queueName)
{
    return queueWithName_waitUntilEmpty(queueName, false);
}

AVCaptureDispatchQueue* AVCaptureDispatchQueue::queueWithName(CFTypeRef queueName)
{
    return queueWithName_waitUntilEmpty(queueName, defaultWaitsUntilEmpty());
}

AVCaptureDispatchQueue* AVCaptureDispatchQueue::queueWithName_waitUntilEmpty(CFTypeRef queueName, bool waitUntilEmpty)
{
    return queueWithTargetClass_queueName_waitUntilEmpty(targetQueueClass(), queueName, waitUntilEmpty);
}

AVCaptureDispatchQueue* AVCaptureDispatchQueue::queueWithTargetClass(Class targetClass)
{
    return queueWithTargetClass_queueName(targetClass, NSStringFromClass(classObject()).get());
}

AVCaptureDispatchQueue* AVCaptureDispatchQueue::queueWithTargetClass_queueName(Class targetClass, CFTypeRef queueName)
{
    return queueWithTargetClass_queueName_waitUntilEmpty(targetClass, queueName, defaultWaitsUntilEmpty());
}

AVCaptureDispatchQueue* AVCaptureDispatchQueue::queueWithTargetClass_queueName_waitUntilEmpty(
    Class targetClass, CFTypeRef queueName, bool waitUntilEmpty)
{
    return autorelease(make<AVCaptureDispatchQueue>(targetClass, queueName, waitUntilEmpty));
}

dispatch_queue_t AVCaptureDispatchQueue::targetQueue() const
{
    return AVCaptureTargetQueueProtocol::targetQueueOfClass(_targetClass);
}

void AVCaptureDispatchQueue::waitUntilQueueEmpty()
{
    if (_queue)
        dispatch_sync(_queue, [] {});
}

void AVCaptureDispatchQueue::sync(const dispatch_block_t& block)
{
    if (_queue && block)
        dispatch_sync(_queue, block);
}

void AVCaptureDispatchQueue::async(dispatch_block_t block)
{
    if (_queue && block)
        dispatch_async(_queue, std::move(block));
}
