#include "Platform/AVFoundation/GStreamerVideoSource.h"

#include <algorithm>

namespace {

/// Pictures that may be in use at a time before new ones are lost.
constexpr std::size_t mostPictures = 24;
/// Forms that the camera is told one by one, the best first, before it is told that any will do.
constexpr std::size_t mostWishes = 16;

std::int64_t intervalOf(const GstCaps* caps)
{
    int numerator = 0;
    int denominator = 0;
    if (!gst_structure_get_fraction(gst_caps_get_structure(caps, 0), "framerate", &numerator, &denominator)
        || numerator <= 0 || denominator <= 0)
        return 0;
    return static_cast<std::int64_t>(
        gst_util_uint64_scale(GST_SECOND, static_cast<guint64>(denominator), static_cast<guint64>(numerator)));
}

VideoFrameConverter::Orientation orientationOf(GstVideoOrientationMethod method)
{
    switch (method) {
    case GST_VIDEO_ORIENTATION_90R:
        return { false, 1 };
    case GST_VIDEO_ORIENTATION_180:
        return { false, 2 };
    case GST_VIDEO_ORIENTATION_90L:
        return { false, 3 };
    case GST_VIDEO_ORIENTATION_HORIZ:
        return { true, 0 };
    case GST_VIDEO_ORIENTATION_VERT:
        return { true, 2 };
    case GST_VIDEO_ORIENTATION_UL_LR:
        return { true, 3 };
    case GST_VIDEO_ORIENTATION_UR_LL:
        return { true, 1 };
    default:
        return {};
    }
}

}

GStreamerVideoSource::GStreamerVideoSource(CaptureSink& sink, GstDevice* device)
    : GStreamerSource(sink, device)
    , mPace(static_cast<std::int64_t>(GST_SECOND / GStreamerVideoFormat::wantedRate))
{
}

Ref<NSError> GStreamerVideoSource::start()
{
    const GstCapsOwner caps(gst_device_get_caps(device()));
    mFormats = GStreamerVideoFormatsOf(caps.get(), sink().preferredDimensions());
    mCaps = nullptr;
    mReader = nullptr;
    mOrientation = GST_VIDEO_ORIENTATION_IDENTITY;
    return GStreamerSource::start();
}

GstCapsOwner GStreamerVideoSource::requestedCaps() const
{
    // The order is the order of preference. That any form will do lets a camera that others use already, or that
    // changes its form, be read in the one that it has.
    GstCapsOwner result(gst_caps_new_empty());
    for (std::size_t index = 0; index < std::min(mFormats.size(), mostWishes); ++index)
        gst_caps_append(result.get(), mFormats[index].caps().release());
    gst_caps_append(result.get(), gst_caps_from_string(deliveredCaps()));
    return result;
}

const char* GStreamerVideoSource::deliveredCaps() const
{
    return VideoSampleReader::readableCaps;
}

void GStreamerVideoSource::configure(GstElement* source)
{
    GStreamerSource::configure(source);
    const GstOwned<GstPad> pad(gst_element_get_static_pad(source, "src"));
    if (pad)
        gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, eventPasses, this, nullptr);
}

GstPadProbeReturn GStreamerVideoSource::eventPasses(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer self)
{
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) != GST_EVENT_TAG)
        return GST_PAD_PROBE_OK;
    GstTagList* tags = nullptr;
    gst_event_parse_tag(event, &tags);
    // How the camera stands, in its housing or in the hand.
    GstVideoOrientationMethod method = GST_VIDEO_ORIENTATION_IDENTITY;
    if (gst_video_orientation_from_tag(tags, &method))
        static_cast<GStreamerVideoSource*>(self)->mOrientation = method;
    return GST_PAD_PROBE_OK;
}

void GStreamerVideoSource::sampleCame(GstSample* sample)
{
    GstCaps* const caps = gst_sample_get_caps(sample);
    if (!caps || !prepareFor(caps))
        return;
    const std::int64_t hostTime = hostTimeOf(sample);
    if (!mReader->needsEverySample() && !admits(hostTime))
        return;
    const auto read = mReader->read(sample, hostTime);
    const bool isAdmitted = !mReader->needsEverySample() || (read && admits(read->hostTime));
    if (read && isAdmitted)
        deliver(*read);
    else if (isAdmitted)
        sink().pictureFailed();
    mReader->finish();
}

bool GStreamerVideoSource::prepareFor(GstCaps* caps)
{
    if (caps == mCaps.get())
        return static_cast<bool>(mReader);
    if (!mReader || !mReader->goesOnWith(caps))
        mReader = VideoSampleReader::readerOf(caps);
    if (!mCaps || intervalOf(caps) != intervalOf(mCaps.get()))
        mPace.begin(intervalOf(caps));
    mCaps.reset(gst_caps_ref(caps));
    return static_cast<bool>(mReader);
}

bool GStreamerVideoSource::admits(std::int64_t hostTime)
{
    return mPace.takes(hostTime) && sink().admitPicture();
}

void GStreamerVideoSource::deliver(const VideoSampleReader::Picture& read)
{
    if (auto picture = pictureFrom(read.frame))
        sink().pictureCame(std::move(picture), read.hostTime, mPace.interval());
    else
        sink().pictureFailed();
}

Ref<CVPixelBuffer> GStreamerVideoSource::pictureFrom(VideoFrameConverter::Frame frame)
{
    frame.orientation = orientationOf(mOrientation);
    auto dimensions = sink().requestedDimensions();
    if (dimensions.width == 0)
        dimensions = VideoFrameConverter::uprightDimensions(frame);
    auto picture = emptyPicture(dimensions);
    return picture && mConverter.convert(frame, *picture) ? picture : nullptr;
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
