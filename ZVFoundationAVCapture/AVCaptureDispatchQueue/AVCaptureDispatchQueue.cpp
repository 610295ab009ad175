#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"

#include "WithRequirements/Requirements.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchFunctions.h"

NS_IMPLEMENTATION(AVCaptureDispatchQueue, NSObject)
{
    registerClassMessages(type);
    type.message("initWithTargetClass:queueName:waitUntilEmpty:",
        &AVCaptureDispatchQueue::initWithTargetClass_queueName_waitUntilEmpty);
    type.message("waitUntilQueueEmpty", &AVCaptureDispatchQueue::waitUntilQueueEmpty);
    type.message("targetQueue", &AVCaptureDispatchQueue::targetQueue);
    type.message("sync:", &AVCaptureDispatchQueue::sync);
    type.message("async:", &AVCaptureDispatchQueue::async);
    type.key("targetClass", &AVCaptureDispatchQueue::targetClass);
    type.key("queue", &AVCaptureDispatchQueue::queue);
    type.key("waitsUntilEmptyBeforeRelease", &AVCaptureDispatchQueue::waitsUntilEmptyBeforeRelease,
        &AVCaptureDispatchQueue::setWaitsUntilEmptyBeforeRelease);
}

AVCaptureDispatchQueue* AVCaptureDispatchQueue::initWithTargetClass_queueName_waitUntilEmpty(
    Class targetClass, CFTypeRef queueName, bool waitUntilEmpty)
{
    _waitsUntilEmptyBeforeRelease = waitUntilEmpty;
    _targetClass = targetClass;
    auto* const target = targetQueue();
    if (!DispatchRequired(target, "target_queue"))
        return this;
    const auto* const name = kindOf<CFString>(queueName);
    if (!name)
        return this;
    _queue = avcapture_dispatch_queue_create_serial_with_target(name->string().c_str(), target);
    DispatchRequired(_queue, "_queue");
    return this;
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

void AVCaptureDispatchQueue::setWaitsUntilEmptyBeforeRelease(bool value)
{
    const NSKeyValueChange change(this, "waitsUntilEmptyBeforeRelease");
    _waitsUntilEmptyBeforeRelease = value;
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
