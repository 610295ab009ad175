#include "NumberReader.h"

#include "Platform/AVFoundation/TestPictureCounter.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gst/video/video.h>

#include <stdexcept>

void NumberReader::Unref::operator()(GstElement* element) const
{
    gst_element_set_state(element, GST_STATE_NULL);
    gst_object_unref(element);
}

NumberReader::NumberReader(const std::string& node)
{
    gst_init(nullptr, nullptr);
    const std::string description = "pipewiresrc target-object=" + node
        + " ! video/x-raw,format=I420 ! appsink name=sink sync=false max-buffers=8 drop=false";
    GError* error = nullptr;
    mPipeline.reset(gst_parse_launch(description.c_str(), &error));
    if (error) {
        const std::string message = error->message;
        g_error_free(error);
        throw std::runtime_error("cannot watch the camera " + node + ": " + message);
    }
    // The clock that PipeWire offers stands still until a camera drives it.
    GstClock* const clock = gst_system_clock_obtain();
    gst_pipeline_use_clock(GST_PIPELINE(mPipeline.get()), clock);
    gst_object_unref(clock);
    mSink.reset(gst_bin_get_by_name(GST_BIN(mPipeline.get()), "sink"));
    gst_element_set_state(mPipeline.get(), GST_STATE_PLAYING);
    mThread = std::thread([this] { run(); });
}

NumberReader::~NumberReader()
{
    {
        const std::scoped_lock lock(mLock);
        mIsEnding = true;
    }
    mThread.join();
}

NumberReader::Watched NumberReader::watched() const
{
    const std::scoped_lock lock(mLock);
    return mWatched;
}

void NumberReader::reset()
{
    const std::scoped_lock lock(mLock);
    mWatched = {};
}

void NumberReader::run()
{
    for (;;) {
        GstSample* const sample = gst_app_sink_try_pull_sample(GST_APP_SINK(mSink.get()), 100 * GST_MSECOND);
        const auto now = Clock::now();
        std::optional<std::uint32_t> number;
        GstVideoInfo info;
        GstVideoFrame frame;
        if (sample && gst_video_info_from_caps(&info, gst_sample_get_caps(sample))
            && gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample), GST_MAP_READ)) {
            const int height = GST_VIDEO_INFO_HEIGHT(&info);
            const auto stride = static_cast<std::size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0));
            const std::span plane(static_cast<const std::byte*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
                stride * static_cast<std::size_t>(height));
            number = TestPictureCounter::readLuma(plane, GST_VIDEO_INFO_WIDTH(&info), height, stride);
            gst_video_frame_unmap(&frame);
        }
        const std::scoped_lock lock(mLock);
        if (sample) {
            gst_sample_unref(sample);
            ++mWatched.pictures;
            if (number)
                mWatched.firstSeen.emplace(*number, now);
            else
                ++mWatched.unreadable;
        }
        if (mIsEnding)
            return;
    }
}
