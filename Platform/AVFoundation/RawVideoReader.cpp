#include "Platform/AVFoundation/RawVideoReader.h"

#include <algorithm>

namespace {

using Frame = VideoFrameConverter::Frame;
using Layout = VideoFrameConverter::Layout;
using Matrix = VideoFrameConverter::Matrix;

std::optional<Layout> layoutOf(GstVideoFormat format)
{
    static constexpr std::pair<GstVideoFormat, Layout> layouts[] {
        { GST_VIDEO_FORMAT_GRAY8, Layout::I400 },
        { GST_VIDEO_FORMAT_I420, Layout::I420 },
        { GST_VIDEO_FORMAT_YV12, Layout::I420 },
        { GST_VIDEO_FORMAT_Y42B, Layout::I422 },
        { GST_VIDEO_FORMAT_Y444, Layout::I444 },
        { GST_VIDEO_FORMAT_NV12, Layout::NV12 },
        { GST_VIDEO_FORMAT_NV21, Layout::NV21 },
        { GST_VIDEO_FORMAT_YUY2, Layout::YUY2 },
        { GST_VIDEO_FORMAT_YVYU, Layout::YVYU },
        { GST_VIDEO_FORMAT_UYVY, Layout::UYVY },
        { GST_VIDEO_FORMAT_BGRA, Layout::BGRA },
        { GST_VIDEO_FORMAT_BGRx, Layout::BGRA },
        { GST_VIDEO_FORMAT_RGBA, Layout::RGBA },
        { GST_VIDEO_FORMAT_RGBx, Layout::RGBA },
        { GST_VIDEO_FORMAT_BGR, Layout::BGR },
        { GST_VIDEO_FORMAT_RGB, Layout::RGB },
    };
    const auto* const found = std::ranges::find(layouts, format, &std::pair<GstVideoFormat, Layout>::first);
    return found != std::end(layouts) ? std::optional(found->second) : std::nullopt;
}

Matrix matrixOf(const GstVideoColorimetry& colorimetry)
{
    switch (colorimetry.matrix) {
    case GST_VIDEO_COLOR_MATRIX_BT709:
    case GST_VIDEO_COLOR_MATRIX_SMPTE240M: // differs by less than a hundredth
        return Matrix::BT709;
    case GST_VIDEO_COLOR_MATRIX_BT2020:
        return Matrix::BT2020;
    default:
        return Matrix::BT601;
    }
}

/// Fills in what the camera leaves unsaid, where GStreamer would guess by the size.
void decideColorimetry(GstVideoInfo& info, const GstStructure* structure)
{
    auto& colorimetry = info.colorimetry;
    GstVideoColorimetry told {};
    const char* const text = gst_structure_get_string(structure, "colorimetry");
    if (text && !gst_video_colorimetry_from_string(&told, text))
        told = {};
    if (GST_VIDEO_INFO_IS_RGB(&info)) {
        if (told.range == GST_VIDEO_COLOR_RANGE_UNKNOWN)
            colorimetry.range = GST_VIDEO_COLOR_RANGE_0_255;
        return;
    }
    const bool isGrey = GST_VIDEO_INFO_IS_GRAY(&info);
    if (told.range == GST_VIDEO_COLOR_RANGE_UNKNOWN)
        colorimetry.range = isGrey ? GST_VIDEO_COLOR_RANGE_0_255 : GST_VIDEO_COLOR_RANGE_16_235;
    if (told.matrix == GST_VIDEO_COLOR_MATRIX_UNKNOWN)
        colorimetry.matrix = GST_VIDEO_COLOR_MATRIX_BT601;
}

/// What the converter is told of a mapped picture; nothing if it does not know the arrangement.
std::optional<Frame> frameOf(const GstVideoFrame& mapped)
{
    const auto layout = layoutOf(GST_VIDEO_FRAME_FORMAT(&mapped));
    if (!layout)
        return std::nullopt;
    Frame frame;
    frame.layout = *layout;
    frame.dimensions = { GST_VIDEO_FRAME_WIDTH(&mapped), GST_VIDEO_FRAME_HEIGHT(&mapped) };
    for (guint plane = 0; plane < GST_VIDEO_FRAME_N_PLANES(&mapped) && plane < frame.planes.size(); ++plane)
        frame.planes[plane] = { static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&mapped, plane)),
            GST_VIDEO_FRAME_PLANE_STRIDE(&mapped, plane) };
    if (GST_VIDEO_FRAME_FORMAT(&mapped) == GST_VIDEO_FORMAT_YV12)
        std::swap(frame.planes[1], frame.planes[2]);
    frame.isFullRange = mapped.info.colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255;
    frame.matrix = matrixOf(mapped.info.colorimetry);
    return frame;
}

}

std::unique_ptr<RawVideoReader> RawVideoReader::readerOf(const GstCaps* caps)
{
    GstVideoInfo info;
    if (!gst_video_info_from_caps(&info, caps))
        return nullptr;
    decideColorimetry(info, gst_caps_get_structure(caps, 0));
    return std::make_unique<RawVideoReader>(info);
}

bool RawVideoReader::readsDirectly(const std::string& pixelFormat)
{
    return layoutOf(gst_video_format_from_string(pixelFormat.c_str())).has_value();
}

RawVideoReader::RawVideoReader(const GstVideoInfo& info)
    : mInfo(info)
{
}

std::optional<VideoSampleReader::Picture> RawVideoReader::read(GstSample* sample, std::int64_t hostTime)
{
    finish();
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    if (!buffer || !gst_video_frame_map(&mMapped, &mInfo, buffer, GST_MAP_READ))
        return std::nullopt;
    mIsMapped = true;
    auto frame = frameOf(mMapped);
    if (!frame)
        frame = convertedFrame();
    if (!frame)
        return std::nullopt;
    frame->pixelWidth = std::max(1, GST_VIDEO_INFO_PAR_N(&mInfo));
    frame->pixelHeight = std::max(1, GST_VIDEO_INFO_PAR_D(&mInfo));
    if (GST_VIDEO_FRAME_IS_INTERLACED(&mMapped))
        VideoFrameConverter::takeOneField(*frame);
    return Picture { *frame, hostTime };
}

void RawVideoReader::finish()
{
    if (mIsMapped)
        gst_video_frame_unmap(&mMapped);
    mIsMapped = false;
}

std::optional<VideoFrameConverter::Frame> RawVideoReader::convertedFrame()
{
    if (!mConverter)
        prepareConverter();
    if (!mConverter)
        return std::nullopt;
    GstVideoFrame target {};
    target.info = mConvertedInfo;
    for (guint plane = 0; plane < GST_VIDEO_INFO_N_PLANES(&mConvertedInfo); ++plane)
        target.data[plane] = mConverted.data() + GST_VIDEO_INFO_PLANE_OFFSET(&mConvertedInfo, plane);
    gst_video_converter_frame(mConverter.get(), &mMapped, &target);
    return frameOf(target);
}

void RawVideoReader::prepareConverter()
{
    // Only the arrangement changes; GStreamer's conversion of colours is less exact than ours.
    auto format = GST_VIDEO_FORMAT_Y444;
    if (GST_VIDEO_INFO_IS_RGB(&mInfo))
        format = GST_VIDEO_FORMAT_BGRx;
    else if (GST_VIDEO_INFO_IS_GRAY(&mInfo))
        format = GST_VIDEO_FORMAT_GRAY8;
    gst_video_info_set_interlaced_format(&mConvertedInfo, format, mInfo.interlace_mode,
        static_cast<guint>(GST_VIDEO_INFO_WIDTH(&mInfo)), static_cast<guint>(GST_VIDEO_INFO_HEIGHT(&mInfo)));
    mConvertedInfo.fps_n = mInfo.fps_n;
    mConvertedInfo.fps_d = mInfo.fps_d;
    mConvertedInfo.colorimetry = mInfo.colorimetry;
    mConvertedInfo.chroma_site = mInfo.chroma_site;
    mConverter.reset(gst_video_converter_new(&mInfo, &mConvertedInfo,
        gst_structure_new("options", GST_VIDEO_CONVERTER_OPT_DITHER_METHOD, GST_TYPE_VIDEO_DITHER_METHOD,
            GST_VIDEO_DITHER_NONE, GST_VIDEO_CONVERTER_OPT_CHROMA_RESAMPLER_METHOD, GST_TYPE_VIDEO_RESAMPLER_METHOD,
            GST_VIDEO_RESAMPLER_METHOD_NEAREST, GST_VIDEO_CONVERTER_OPT_CHROMA_MODE, GST_TYPE_VIDEO_CHROMA_MODE,
            GST_VIDEO_CHROMA_MODE_NONE, nullptr)));
    mConverted.resize(GST_VIDEO_INFO_SIZE(&mConvertedInfo) + 64);
}
