#include "Platform/AVFoundation/GStreamerVideoSource.h"

namespace {

/// Pictures that may be in use at a time before new ones are lost.
constexpr std::size_t mostPictures = 24;

/// A picture's planes as the converter wants them; null where it does not know the format.
std::optional<VideoFrameConverter::Frame> frameOf(const GstVideoFrame& mapped)
{
    using Layout = VideoFrameConverter::Layout;
    static constexpr std::pair<GstVideoFormat, Layout> layouts[] {
        { GST_VIDEO_FORMAT_I420, Layout::I420 },
        { GST_VIDEO_FORMAT_YV12, Layout::I420 },
        { GST_VIDEO_FORMAT_Y42B, Layout::I422 },
        { GST_VIDEO_FORMAT_Y444, Layout::I444 },
        { GST_VIDEO_FORMAT_NV12, Layout::NV12 },
        { GST_VIDEO_FORMAT_YUY2, Layout::YUY2 },
        { GST_VIDEO_FORMAT_UYVY, Layout::UYVY },
        { GST_VIDEO_FORMAT_BGRA, Layout::BGRA },
        { GST_VIDEO_FORMAT_BGRx, Layout::BGRA },
        { GST_VIDEO_FORMAT_RGBA, Layout::RGBA },
        { GST_VIDEO_FORMAT_RGBx, Layout::RGBA },
        { GST_VIDEO_FORMAT_BGR, Layout::BGR },
        { GST_VIDEO_FORMAT_RGB, Layout::RGB },
    };
    const auto& info = mapped.info;
    for (const auto& [format, layout] : layouts) {
        if (GST_VIDEO_INFO_FORMAT(&info) != format)
            continue;
        VideoFrameConverter::Frame frame;
        frame.layout = layout;
        frame.dimensions = { GST_VIDEO_FRAME_WIDTH(&mapped), GST_VIDEO_FRAME_HEIGHT(&mapped) };
        for (guint plane = 0; plane < GST_VIDEO_FRAME_N_PLANES(&mapped) && plane < frame.planes.size(); ++plane)
            frame.planes[plane] = { static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&mapped, plane)),
                GST_VIDEO_FRAME_PLANE_STRIDE(&mapped, plane) };
        if (format == GST_VIDEO_FORMAT_YV12)
            std::swap(frame.planes[1], frame.planes[2]);
        frame.isFullRange = info.colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255;
        frame.isHighDefinition = info.colorimetry.matrix == GST_VIDEO_COLOR_MATRIX_BT709;
        return frame;
    }
    return std::nullopt;
}

}

Ref<NSError> GStreamerVideoSource::start()
{
    const GstCapsOwner caps(gst_device_get_caps(device()));
    mFormats = GStreamerVideoFormatsOf(caps.get(), sink().preferredDimensions());
    return GStreamerSource::start();
}

std::string GStreamerVideoSource::chain() const
{
    if (mFormats.empty() || mFormats.front().mediaType == "video/x-raw")
        return "videoconvert";
    if (mFormats.front().mediaType == "image/jpeg")
        return "jpegdec ! videoconvert";
    return "decodebin ! videoconvert";
}

GstCapsOwner GStreamerVideoSource::requestedCaps() const
{
    return mFormats.empty() ? GstCapsOwner(gst_caps_new_empty_simple("video/x-raw")) : mFormats.front().caps();
}

const char* GStreamerVideoSource::deliveredCaps() const
{
    return "video/x-raw,format={I420,YV12,Y42B,Y444,NV12,YUY2,UYVY,BGRA,BGRx,RGBA,RGBx,BGR,RGB}";
}

void GStreamerVideoSource::sampleCame(GstSample* sample)
{
    if (!sink().admitPicture())
        return;
    auto picture = pictureFrom(sample);
    if (!picture) {
        sink().pictureFailed();
        return;
    }
    std::int64_t duration = 0;
    if (mInfo.fps_n > 0)
        duration = static_cast<std::int64_t>(
            gst_util_uint64_scale(GST_SECOND, static_cast<guint64>(mInfo.fps_d), static_cast<guint64>(mInfo.fps_n)));
    sink().pictureCame(std::move(picture), hostTimeOf(sample), duration);
}

Ref<CVPixelBuffer> GStreamerVideoSource::pictureFrom(GstSample* sample)
{
    GstCaps* const caps = gst_sample_get_caps(sample);
    if (!caps)
        return nullptr;
    if (caps != mInfoCaps.get()) {
        if (!gst_video_info_from_caps(&mInfo, caps))
            return nullptr;
        mInfoCaps.reset(gst_caps_ref(caps));
    }
    GstVideoFrame mapped;
    if (!gst_video_frame_map(&mapped, &mInfo, gst_sample_get_buffer(sample), GST_MAP_READ))
        return nullptr;
    struct Unmap {
        GstVideoFrame& frame;
        ~Unmap() { gst_video_frame_unmap(&frame); }
    } const unmap { mapped };

    const auto frame = frameOf(mapped);
    if (!frame)
        return nullptr;
    auto dimensions = sink().requestedDimensions();
    if (dimensions.width == 0)
        dimensions = frame->dimensions;
    auto picture = emptyPicture(dimensions);
    if (!picture || !mConverter.convert(*frame, *picture))
        return nullptr;
    return picture;
}

Ref<CVPixelBuffer> GStreamerVideoSource::emptyPicture(CMVideoDimensions dimensions)
{
    if (!mPool || mPoolDimensions != dimensions) {
        mPoolDimensions = dimensions;
        mPool = make<CVPixelBufferPool>(static_cast<std::size_t>(dimensions.width),
            static_cast<std::size_t>(dimensions.height), kCVPixelFormatType_32BGRA, nullptr);
    }
    Ref<CVPixelBuffer> picture;
    mPool->createPixelBuffer(mostPictures, &picture);
    return picture;
}
