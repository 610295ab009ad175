#pragma once

#include "Platform/AVFoundation/GStreamerSource.h"
#include "Platform/AVFoundation/GStreamerVideoFormats.h"
#include "Platform/AVFoundation/VideoFramePace.h"
#include "Platform/AVFoundation/VideoSampleReader.h"
#include "Platform/CoreVideo/CVPixelBufferPool.h"

#include <atomic>
#include <gst/video/video.h>

/// A camera of the host.
///
/// It is asked for the form that suits best and read in whatever form comes, also when that changes on the way: the
/// samples themselves say what they are. Of a camera that is much faster than it was asked to be, pictures are left
/// out evenly.
class GStreamerVideoSource final : public GStreamerSource {
public:
    GStreamerVideoSource(CaptureSink& sink, GstDevice* device);
    ~GStreamerVideoSource() override { stop(); }
    Ref<NSError> start() override;

private:
    std::string chain() const override { return {}; }
    GstCapsOwner requestedCaps() const override;
    const char* deliveredCaps() const override;
    void configure(GstElement* source) override;
    void sampleCame(GstSample* sample) override;
    bool prepareFor(GstCaps* caps);
    bool admits(std::int64_t hostTime);
    void deliver(const VideoSampleReader::Picture& read);
    Ref<CVPixelBuffer> pictureFrom(VideoFrameConverter::Frame frame);
    Ref<CVPixelBuffer> emptyPicture(CMVideoDimensions dimensions);
    static GstPadProbeReturn eventPasses(GstPad* pad, GstPadProbeInfo* info, gpointer self);

    std::vector<GStreamerVideoFormat> mFormats;
    GstCapsOwner mCaps; ///< of the last sample
    std::unique_ptr<VideoSampleReader> mReader; ///< null when its form cannot be read
    VideoFramePace mPace;
    VideoFrameConverter mConverter;
    Ref<CVPixelBufferPool> mPool;
    CMVideoDimensions mPoolDimensions;
    std::atomic<GstVideoOrientationMethod> mOrientation { GST_VIDEO_ORIENTATION_IDENTITY };
};
