#pragma once

#include "Platform/AVFoundation/VideoSampleReader.h"

#include <libyuv.h>
#include <span>
#include <vector>

/// Reads pictures that are JPEG files each. Their colours are JFIF's, BT.601 in the full range, whatever the size, or
/// red, green and blue themselves where the file says so.
///
/// A picture that is cut short is none; the damaged part of one that is whole is what the library makes of it.
class JPEGVideoReader final : public VideoSampleReader {
public:
    static constexpr const char* mediaType = "image/jpeg";
    bool goesOnWith(const GstCaps* caps) const override;
    std::optional<Picture> read(GstSample* sample, std::int64_t hostTime) override;

private:
    std::optional<VideoFrameConverter::Frame> decode(std::span<const std::uint8_t> file);
    std::optional<VideoFrameConverter::Layout> layout();
    /// Brings planes of unusual sizes to that of the picture.
    void widenColours(VideoFrameConverter::Frame& frame);
    /// Makes pixels of planes of red, green and blue.
    void mergeColours(VideoFrameConverter::Frame& frame);

    libyuv::MJpegDecoder mDecoder;
    std::array<std::vector<std::uint8_t>, 3> mPlanes;
    std::array<int, 3> mHeights {}; ///< of the planes
    std::array<std::vector<std::uint8_t>, 3> mWidened;
    std::vector<std::uint8_t> mMerged;
};
