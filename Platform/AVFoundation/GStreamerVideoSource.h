#pragma once

#include "Platform/AVFoundation/GStreamerSource.h"
#include "Platform/AVFoundation/GStreamerVideoFormats.h"
#include "Platform/AVFoundation/VideoFrameConverter.h"
#include "Platform/CoreVideo/CVPixelBufferPool.h"

#include <gst/video/video.h>

/// A camera of the host.
class GStreamerVideoSource final : public GStreamerSource {
public:
    using GStreamerSource::GStreamerSource;
    ~GStreamerVideoSource() override { stop(); }
    Ref<NSError> start() override;

private:
    std::string chain() const override;
    GstCapsOwner requestedCaps() const override;
    const char* deliveredCaps() const override;
    void sampleCame(GstSample* sample) override;
    Ref<CVPixelBuffer> pictureFrom(GstSample* sample);
    Ref<CVPixelBuffer> emptyPicture(CMVideoDimensions dimensions);

    std::vector<GStreamerVideoFormat> mFormats;
    GstVideoInfo mInfo {};
    GstCapsOwner mInfoCaps;
    VideoFrameConverter mConverter;
    Ref<CVPixelBufferPool> mPool;
    CMVideoDimensions mPoolDimensions;
};
