#pragma once

#include "Platform/AVFoundation/AVCaptureDevice.h"
#include "Platform/AVFoundation/CaptureSource.h"
#include "Platform/AVFoundation/TestPicture.h"
#include "Platform/CoreVideo/CVPixelBufferPool.h"
#include "Platform/dispatch/dispatch.h"

/// Brings 30 test pictures a second, in the size asked for, timed by the host clock.
class TestPictureSource final : public CaptureSource {
public:
    static Ref<AVCaptureDevice> makeDevice();

    explicit TestPictureSource(CaptureSink& sink)
        : mSink(sink)
    {
    }
    ~TestPictureSource() override { stop(); }
    Ref<NSError> start() override;
    void stop() override;

private:
    void frameIsDue();

    CaptureSink& mSink;
    Ref<dispatch_queue> mQueue;
    Ref<dispatch_source> mTimer;
    std::unique_ptr<TestPicture> mPicture;
    Ref<CVPixelBufferPool> mPool;
    std::int64_t mStart = 0;
    std::int64_t mLastNumber = -1;
    std::int64_t mZoneOffset = 0; ///< seconds from universal time to the user's
};
