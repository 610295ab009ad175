#pragma once

#include "Platform/AVFoundation/AVCaptureAudioDataOutput.h"
#include "Platform/AVFoundation/GStreamerSource.h"
#include "Platform/AVFoundation/SoundClock.h"

/// A microphone of the host.
class GStreamerAudioSource final : public GStreamerSource {
public:
    using GStreamerSource::GStreamerSource;
    ~GStreamerAudioSource() override { stop(); }

private:
    std::string chain() const override { return "audioconvert ! audioresample"; }
    const char* deliveredCaps() const override;
    void configure(GstElement* source) override;
    void sampleCame(GstSample* sample) override;

    bool mStampsArrival = false; ///< the element stamps with the time at which a run was complete
    SoundClock mClock { AVCaptureAudioDataOutput::sampleRate };
};
