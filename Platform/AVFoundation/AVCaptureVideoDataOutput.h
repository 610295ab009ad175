#pragma once

#include "Platform/AVFoundation/AVCaptureOutput.h"

#include <cstdint>

/// Delivers each picture of a session's camera as a BGRA pixel buffer.
///
/// The picture has the size of the settings. A camera's picture of other proportions fills it: the largest middle part
/// with the right proportions is cut out and scaled, so nothing is squeezed and there are no bars. Without a size in
/// the settings the picture comes in the camera's own size.
///
/// While the delegate's callback runs, one further picture waits for it; those that come meanwhile are late and thrown
/// away. While it does not run, because the machine has not come to it yet, up to four wait. Sample times are on the
/// host clock.
class AVCaptureVideoDataOutput : public AVCaptureOutput {
    NS_OBJECT(AVCaptureVideoDataOutput)
public:
    AVMediaType mediaType() const override { return AVMediaTypeVideo; }

    /// \param delegate  held weakly; an `AVCaptureVideoDataOutputSampleBufferDelegate`
    /// \param queue  a serial queue; null together with the delegate
    void setSampleBufferDelegate_queue(NSObject* delegate, dispatch_queue_t queue);
    Ref<NSObject> sampleBufferDelegate() const { return mReceiver.delegate(); }
    Ref<dispatch_queue> sampleBufferCallbackQueue() const { return mReceiver.queue(); }

    /// False lets up to eight pictures wait instead of one.
    void setAlwaysDiscardsLateVideoFrames(bool discards) { mDiscardsLate.store(discards, std::memory_order_relaxed); }
    bool alwaysDiscardsLateVideoFrames() const { return mDiscardsLate.load(std::memory_order_relaxed); }

    /// Pixel buffer attributes; of them width, height and format (BGRA only) are read when a session opens its camera.
    void setVideoSettings(CFDictionary* settings);
    CFDictionary* videoSettings() const;
    /// The width and height of the settings, or zeros.
    CMVideoDimensions requestedDimensions() const;

    /// How many pictures came, and how many of them were thrown away as late, since the output was made.
    std::uint64_t receivedFrameCount() const { return mReceived.load(std::memory_order_relaxed); }
    std::uint64_t lateFrameCount() const { return mLate.load(std::memory_order_relaxed); }

    /// Counts one more picture and says whether there is room for it; called by the session's source before it spends
    /// anything on the picture.
    bool admitFrame();
    /// Posts an admitted picture to the delegate. \p hostTime is in nanoseconds of the host clock.
    void deliver(Ref<CVPixelBuffer> pixelBuffer, std::int64_t hostTime, std::int64_t duration);
    /// Gives an admitted picture up.
    void abandonFrame();

private:
    Ref<CMSampleBuffer> sampleBufferWith(CVPixelBuffer* pixelBuffer, std::int64_t hostTime, std::int64_t duration);

    AVCaptureSampleBufferReceiver mReceiver;
    mutable std::mutex mSettingsLock;
    Ref<CFDictionary> mSettings;
    Ref<CMFormatDescription> mFormat;
    std::atomic<bool> mDiscardsLate { true };
    std::atomic<int> mWaiting { 0 }; ///< admitted pictures that have not reached the delegate
    std::atomic<bool> mBusy { false }; ///< the delegate's callback runs
    std::atomic<std::uint64_t> mReceived { 0 };
    std::atomic<std::uint64_t> mLate { 0 };
};
