#include "Platform/AVFoundation/AVCaptureOutput.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"

NS_IMPLEMENTATION(AVCaptureOutput, NSObject)
{
    type.message("connectionWithMediaType:", &AVCaptureOutput::connectionWithMediaType);
}

AVCaptureConnection* AVCaptureOutput::connectionWithMediaType(AVMediaType mediaType) const
{
    const std::lock_guard lock(mConnectionLock);
    if (!mConnection || !mediaType || !CFEqual(mConnection->mediaType(), mediaType))
        return nullptr;
    return autorelease(mConnection);
}

void AVCaptureOutput::setConnection(Ref<AVCaptureConnection> connection)
{
    const std::lock_guard lock(mConnectionLock);
    std::swap(mConnection, connection);
}

void AVCaptureSampleBufferReceiver::set(NSObject* delegate, dispatch_queue_t queue)
{
    const std::lock_guard lock(mLock);
    mDelegate = delegate;
    mQueue = queue;
}

Ref<NSObject> AVCaptureSampleBufferReceiver::delegate() const
{
    const std::lock_guard lock(mLock);
    return mDelegate.strongReference();
}

Ref<dispatch_queue> AVCaptureSampleBufferReceiver::queue() const
{
    const std::lock_guard lock(mLock);
    return mQueue;
}

void AVCaptureSampleBufferReceiver::deliver(
    AVCaptureOutput* output, CMSampleBufferRef sampleBuffer, AVCaptureConnection* connection) const
{
    const auto object = delegate();
    auto* const receiver = kindOf<AVCaptureDataOutputSampleBufferDelegate>(object);
    if (receiver && object->respondsToSelector("captureOutput:didOutputSampleBuffer:fromConnection:"))
        receiver->captureOutput_didOutputSampleBuffer_fromConnection(output, sampleBuffer, connection);
}
