#include "CameraExtension/CameraFormats.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>

namespace CameraFormats {

namespace {

constexpr std::uint32_t mediaFormatOf(CameraPixelFormat format)
{
    switch (format) {
    case CameraPixelFormat::I420:
        return SPA_VIDEO_FORMAT_I420;
    case CameraPixelFormat::NV12:
        return SPA_VIDEO_FORMAT_NV12;
    case CameraPixelFormat::YUY2:
        return SPA_VIDEO_FORMAT_YUY2;
    case CameraPixelFormat::BGRA:
        return SPA_VIDEO_FORMAT_BGRA;
    case CameraPixelFormat::BGRx:
        break;
    }
    return SPA_VIDEO_FORMAT_BGRx;
}

constexpr bool isYUV(CameraPixelFormat format)
{
    return format != CameraPixelFormat::BGRA && format != CameraPixelFormat::BGRx;
}

/// A consumer gets the last buffer back for filling at the next frame, whether or not it is done with it; this many
/// frames it may take.
constexpr int bufferCount = 8;

}

const spa_pod* build(spa_pod_builder& builder, std::uint32_t parameter, CameraPixelFormat format, std::uint32_t width,
    std::uint32_t height, std::uint32_t framesPerSecond)
{
    const spa_rectangle size { width, height };
    const spa_fraction rate { framesPerSecond, 1 };
    spa_pod_frame frame {};
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, parameter);
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype,
        SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format, SPA_POD_Id(mediaFormatOf(format)),
        SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
    if (isYUV(format))
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_colorRange, SPA_POD_Id(SPA_VIDEO_COLOR_RANGE_16_235),
            SPA_FORMAT_VIDEO_colorMatrix, SPA_POD_Id(SPA_VIDEO_COLOR_MATRIX_BT601), SPA_FORMAT_VIDEO_transferFunction,
            SPA_POD_Id(SPA_VIDEO_TRANSFER_BT709), SPA_FORMAT_VIDEO_colorPrimaries,
            SPA_POD_Id(SPA_VIDEO_COLOR_PRIMARIES_BT709), 0);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
}

std::optional<CameraPixelFormat> parse(const spa_pod* format)
{
    std::uint32_t type = 0;
    std::uint32_t subtype = 0;
    spa_video_info_raw info {};
    if (spa_format_parse(format, &type, &subtype) < 0 || type != SPA_MEDIA_TYPE_video
        || subtype != SPA_MEDIA_SUBTYPE_raw || spa_format_video_raw_parse(format, &info) < 0)
        return std::nullopt;
    for (const auto offered : kOffered) {
        if (mediaFormatOf(offered) == info.format)
            return offered;
    }
    return std::nullopt;
}

std::vector<const spa_pod*> buildBufferParameters(
    spa_pod_builder& builder, CameraPixelFormat format, std::uint32_t width, std::uint32_t height)
{
    const auto layout = layoutOf(format, width, height);
    std::vector<const spa_pod*> parameters;
    parameters.push_back(static_cast<const spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamBuffers,
        SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(bufferCount, 4, 16),
        SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_size, SPA_POD_Int(static_cast<int>(layout.bytes)),
        SPA_PARAM_BUFFERS_stride, SPA_POD_Int(static_cast<int>(layout.stride)), SPA_PARAM_BUFFERS_dataType,
        SPA_POD_CHOICE_FLAGS_Int(1 << SPA_DATA_MemFd))));
    parameters.push_back(static_cast<const spa_pod*>(
        spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
            SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size, SPA_POD_Int(static_cast<int>(sizeof(spa_meta_header))))));
    return parameters;
}

}
