#pragma once

#include "Platform/AVFoundation/AVCaptureConnection.h"
#include "Platform/CoreMedia/CMSampleBuffer.h"
#include "Platform/dispatch/dispatch.h"

#include <optional>

/// Receives the samples of a session; the base of the two data outputs.
class AVCaptureOutput : public NSObject {
    NS_OBJECT(AVCaptureOutput)
public:
    AVCaptureOutput() = default;
    /// What the output takes.
    virtual AVMediaType mediaType() const = 0;
    /// The connection while the session has an input of that kind, else null. Kept by the innermost pool.
    AVCaptureConnection* connectionWithMediaType(AVMediaType mediaType) const;
    /// Set by the session.
    void setConnection(Ref<AVCaptureConnection> connection);
    /// Told by the session when it begins to deliver and when it ends: nothing is delivered once that has returned.
    virtual void setDelivering(bool /*delivers*/) { }

private:
    mutable std::mutex mConnectionLock;
    Ref<AVCaptureConnection> mConnection;
};

/// What the delegates of both data outputs implement, under one name.
class AVCaptureDataOutputSampleBufferDelegate {
public:
    /// Brings the next sample, on the queue that the delegate was set with. \p sampleBuffer is borrowed for the call.
    virtual void captureOutput_didOutputSampleBuffer_fromConnection(
        AVCaptureOutput* /*output*/, CMSampleBufferRef /*sampleBuffer*/, AVCaptureConnection* /*connection*/)
    {
    }

protected:
    ~AVCaptureDataOutputSampleBufferDelegate() = default;
};

class AVCaptureVideoDataOutputSampleBufferDelegate : public virtual AVCaptureDataOutputSampleBufferDelegate {
protected:
    ~AVCaptureVideoDataOutputSampleBufferDelegate() = default;
};

class AVCaptureAudioDataOutputSampleBufferDelegate : public virtual AVCaptureDataOutputSampleBufferDelegate {
protected:
    ~AVCaptureAudioDataOutputSampleBufferDelegate() = default;
};

/// A delegate and the queue on which it is called, as the data outputs keep them. Locks inside.
class AVCaptureSampleBufferReceiver {
public:
    void set(NSObject* delegate, dispatch_queue_t queue);
    Ref<NSObject> delegate() const;
    Ref<dispatch_queue> queue() const;
    /// Calls the delegate if it is there and has the message.
    void deliver(AVCaptureOutput* output, CMSampleBufferRef sampleBuffer, AVCaptureConnection* connection) const;

private:
    mutable std::mutex mLock;
    WeakRef<NSObject> mDelegate;
    Ref<dispatch_queue> mQueue;
};
