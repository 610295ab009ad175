#pragma once

#include "Platform/AVFoundation/AVCaptureAudioDataOutput.h"
#include "Platform/AVFoundation/GStreamerSource.h"
#include "Platform/AVFoundation/SoundResampler.h"

#include <optional>

/// A microphone of the host. Its samples come in the form of `AVCaptureAudioDataOutput`, counted by the device's own
/// clock, each run with the time of its first sample as the device's latency tells it.
class GStreamerAudioSource final : public GStreamerSource {
public:
    using GStreamerSource::GStreamerSource;
    ~GStreamerAudioSource() override { stop(); }

private:
    // No audioresample: it counts stamps on by samples and so hides what the device's clock does.
    std::string chain() const override { return "audioconvert"; }
    const char* deliveredCaps() const override;
    void configure(GstElement* source) override;
    void sampleCame(GstSample* sample) override;
    /// When the first of the sample's \p duration was taken.
    std::int64_t timeTaken(GstSample* sample, std::int64_t duration) const;

    GstElement* mElement = nullptr; ///< the pipeline's
    bool mStampsArrival = false; ///< the element stamps with the time at which a run was complete
    int mRate = 0;
    std::optional<SoundResampler> mResampler; ///< of a device whose rate is another
};
