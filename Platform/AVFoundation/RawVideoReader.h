#pragma once

#include "Platform/AVFoundation/VideoSampleReader.h"

#include <gst/video/video.h>
#include <vector>

/// Reads pictures that are not compressed.
///
/// Pixel formats that the frame converter does not know are brought to one that it knows first, by GStreamer.
///
/// A camera that leaves the colours' standard unsaid is taken to mean BT.601 in the limited range, at every size: so
/// webcams encode (the class's default matrix is that of SMPTE 170M) and so V4L2 reads them. Brightness alone, as
/// infrared cameras deliver it, uses the full range.
class RawVideoReader final : public VideoSampleReader {
public:
    /// \return null for caps that describe no picture
    static std::unique_ptr<RawVideoReader> readerOf(const GstCaps* caps);

    /// Whether a pixel format, as GStreamer names it, needs no conversion before ours. An unknown name does not.
    static bool readsDirectly(const std::string& pixelFormat);

    explicit RawVideoReader(const GstVideoInfo& info);
    ~RawVideoReader() override { finish(); }
    RawVideoReader(const RawVideoReader&) = delete;
    RawVideoReader& operator=(const RawVideoReader&) = delete;
    std::optional<Picture> read(GstSample* sample, std::int64_t hostTime) override;
    void finish() override;

private:
    std::optional<VideoFrameConverter::Frame> convertedFrame();
    void prepareConverter();

    GstVideoInfo mInfo;
    GstVideoFrame mMapped {};
    bool mIsMapped = false;
    struct ConverterDeleter {
        void operator()(GstVideoConverter* converter) const noexcept { gst_video_converter_free(converter); }
    };
    std::unique_ptr<GstVideoConverter, ConverterDeleter> mConverter; ///< made when it is needed first
    GstVideoInfo mConvertedInfo {};
    std::vector<std::uint8_t> mConverted;
};
