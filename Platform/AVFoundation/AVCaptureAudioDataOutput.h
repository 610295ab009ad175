#pragma once

#include "Platform/AVFoundation/AVCaptureOutput.h"

/// Delivers the sound of a session's microphone as interleaved signed 16-bit samples of two channels, 48,000 a second,
/// little-endian, each run stamped with the host-clock time of its first sample.
///
/// The stamps follow one another without gap or overlap for as long as the device delivers without one.
class AVCaptureAudioDataOutput : public AVCaptureOutput {
    NS_OBJECT(AVCaptureAudioDataOutput)
public:
    static constexpr int sampleRate = 48000;
    static constexpr int channels = 2;

    AVMediaType mediaType() const override { return AVMediaTypeAudio; }
    /// \param delegate  held weakly; an `AVCaptureAudioDataOutputSampleBufferDelegate`
    /// \param queue  a serial queue; null together with the delegate
    void setSampleBufferDelegate_queue(NSObject* delegate, dispatch_queue_t queue);
    Ref<NSObject> sampleBufferDelegate() const { return mReceiver.delegate(); }
    Ref<dispatch_queue> sampleBufferCallbackQueue() const { return mReceiver.queue(); }

    /// Posts the next samples to the delegate. \p hostTime is in nanoseconds of the host clock.
    void deliver(std::vector<std::byte> samples, std::int64_t hostTime);

private:
    AVCaptureSampleBufferReceiver mReceiver;
    std::mutex mFormatLock;
    Ref<CMFormatDescription> mFormat;
};
