#pragma once

#include "Platform/AVFoundation/AVCaptureDevice.h"
#include "Platform/AVFoundation/CaptureSource.h"
#include "Platform/dispatch/dispatch.h"

/// The microphone that stands in when the machine has none: silence, a fiftieth of a second at a time.
class SilenceSource final : public CaptureSource {
public:
    static Ref<AVCaptureDevice> makeDevice();

    explicit SilenceSource(CaptureSink& sink)
        : mSink(sink)
    {
    }
    ~SilenceSource() override { stop(); }
    Ref<NSError> start() override;
    void stop() override;

private:
    void soundIsDue();

    CaptureSink& mSink;
    Ref<dispatch_queue> mQueue;
    Ref<dispatch_source> mTimer;
    std::int64_t mStart = 0;
    std::int64_t mDelivered = 0; ///< sound frames since the start
};
