#pragma once

#include "Platform/AVFoundation/AVCaptureOutput.h"

#include <span>

class SoundTimeline;

/// Delivers the sound of a session's microphone as interleaved signed 16-bit samples of two channels, 48,000 a second
/// of the host clock, little-endian, each run stamped with the host-clock time at which its first sample was taken.
///
/// A run's stamp is always the one before plus the run before, exactly, whatever the microphone's own clock does, also
/// when sound is lost, the microphone fails or is replaced by another: silence stands where there is no sound, a
/// third of a second late at the most (see SoundTimeline.h). Only where the machine itself stood still for seconds, or
/// the delegate's queue is seconds behind, is there a gap.
class AVCaptureAudioDataOutput : public AVCaptureOutput {
    NS_OBJECT(AVCaptureAudioDataOutput)
public:
    static constexpr int sampleRate = 48000;
    static constexpr int channels = 2;
    static constexpr std::uint32_t bytesPerFrame = channels * sizeof(std::int16_t);

    AVCaptureAudioDataOutput();
    ~AVCaptureAudioDataOutput() override;

    AVMediaType mediaType() const override { return AVMediaTypeAudio; }
    /// \param delegate  held weakly; an `AVCaptureAudioDataOutputSampleBufferDelegate`
    /// \param queue  a serial queue; null together with the delegate
    void setSampleBufferDelegate_queue(NSObject* delegate, dispatch_queue_t queue);
    Ref<NSObject> sampleBufferDelegate() const { return mReceiver.delegate(); }
    Ref<dispatch_queue> sampleBufferCallbackQueue() const { return mReceiver.queue(); }

    void setDelivering(bool delivers) override;
    /// Takes a device's next samples, in the form that the output delivers but by the device's clock; what becomes of
    /// them is posted to the delegate. From the thread of the device.
    /// \param source  rises whenever a device is opened; nothing is taken from one opened before the last that was
    /// heard \param hostTime  when the first sample was taken, in nanoseconds of the host clock
    void deliver(std::uint64_t source, std::span<const std::byte> samples, std::int64_t hostTime);

private:
    void tick();
    void post(std::span<const std::int16_t> samples, std::int64_t hostTime);

    AVCaptureSampleBufferReceiver mReceiver;
    std::atomic<std::size_t> mWaitingFrames { 0 }; ///< posted to the delegate and not yet delivered

    std::mutex mLock; ///< of all below; held while samples are posted, so that they stay in order
    bool mDelivers = false; ///< the session wants it
    const std::unique_ptr<SoundTimeline> mTimeline;
    std::uint64_t mSource = 0; ///< that the timeline knows
    Ref<CMFormatDescription> mFormat;
    Ref<dispatch_queue> mTimerQueue;
    Ref<dispatch_source> mTimer; ///< while it delivers
};
