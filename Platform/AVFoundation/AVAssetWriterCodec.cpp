#include "Platform/AVFoundation/AVAssetWriterCodec.h"

#include "Platform/AVFoundation/AVAssetWriterLibraryMessages.h"
#include "Platform/AVFoundation/AVAssetWriterNALUnits.h"
#include "Platform/AVFoundation/AVAssetWriterPictureConverter.h"
#include "Platform/AVFoundation/AVAssetWriterTrack.h"
#include "Platform/CoreFoundation/FailPoint.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/hwcontext.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}
#include <libyuv/planar_functions.h>
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>

namespace {

constexpr int framesInTheHardware = 8;

/// One thread costs the least; what is larger than 1080 lines needs more to keep up.
int threadsFor(int width, int height)
{
    constexpr int largestForOne = 1920 * 1088;
    if (width * height <= largestForOne)
        return 1;
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 4U));
}

bool takes(const AVCodec* codec, AVPixelFormat format)
{
    for (const auto* known = codec->pix_fmts; known && *known != AV_PIX_FMT_NONE; ++known)
        if (*known == format)
            return true;
    return false;
}

/// Pictures that lie in the hardware, where it takes no others.
AVPixelFormat formatFor(const AVCodec* codec)
{
    for (const auto format : { AV_PIX_FMT_YUV420P, AV_PIX_FMT_NV12, AV_PIX_FMT_VAAPI })
        if (takes(codec, format))
            return format;
    return AV_PIX_FMT_NONE;
}

}

void AVAssetWriterCodec::ContextDeleter::operator()(AVCodecContext* context) const
{
    avcodec_free_context(&context);
}

void AVAssetWriterCodec::FrameDeleter::operator()(AVFrame* frame) const
{
    av_frame_free(&frame);
}

void AVAssetWriterCodec::PacketDeleter::operator()(AVPacket* packet) const
{
    av_packet_free(&packet);
}

void AVAssetWriterCodec::BufferDeleter::operator()(AVBufferRef* buffer) const
{
    av_buffer_unref(&buffer);
}

AVAssetWriterCodec::AVAssetWriterCodec(Choice choice, const Settings& settings)
    : mChoice(std::move(choice))
    , mSettings(settings)
    , mPacket(av_packet_alloc())
{
}

AVAssetWriterCodec::~AVAssetWriterCodec() = default;

std::unique_ptr<AVAssetWriterCodec> AVAssetWriterCodec::open(
    const Choice& choice, const Settings& settings, Ref<NSError>* error)
{
    const AVAssetWriterLibraryMessages messages;
    std::unique_ptr<AVAssetWriterCodec> codec(new AVAssetWriterCodec(choice, settings));
    int code = codec->openContext();
    if (code >= 0)
        code = codec->takeHeader();
    NSErrorReturn(error, code < 0 ? messages.error(code, "Cannot open the encoder " + choice.name) : nullptr);
    return code < 0 ? nullptr : std::move(codec);
}

int AVAssetWriterCodec::openContext()
{
    const auto* const codec = avcodec_find_encoder_by_name(mChoice.name.c_str());
    if (!codec)
        return AVERROR_ENCODER_NOT_FOUND;
    mContext.reset(avcodec_alloc_context3(codec));
    if (!mContext || !mPacket)
        return AVERROR(ENOMEM);
    auto& context = *mContext;
    context.width = mSettings.width;
    context.height = mSettings.height;
    context.pix_fmt = formatFor(codec);
    context.time_base = { 1, static_cast<int>(AVAssetWriterTrack::pictureTimescale) };
    context.framerate = { 30, 1 };
    context.bit_rate = std::llround(static_cast<double>(mSettings.bitRate) * mChoice.bitRateShare);
    context.gop_size = mSettings.keyFrameInterval;
    context.max_b_frames = 0; // decoding order is showing order
    context.thread_count = threadsFor(mSettings.width, mSettings.height);
    context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    context.color_range = AVCOL_RANGE_MPEG;
    context.color_primaries = AVCOL_PRI_BT709;
    // Screens' pictures are sRGB and so are a camera's; the name that every player shows as it is, is this one.
    context.color_trc = AVCOL_TRC_BT709;
    context.colorspace = AVCOL_SPC_BT709;
    context.chroma_sample_location = AVCHROMA_LOC_CENTER;
    if (mChoice.finestQuantiser > 0)
        context.qmin = mChoice.finestQuantiser;
    if (!mChoice.preset.empty()) {
        const auto number = "sps-id=" + std::to_string(mChoice.parameterSet);
        av_opt_set(context.priv_data, "preset", mChoice.preset.c_str(), 0);
        av_opt_set(context.priv_data, "x264-params", number.c_str(), 0);
    }
    if (context.pix_fmt == AV_PIX_FMT_NONE)
        return AVERROR(EINVAL);
    if (context.pix_fmt == AV_PIX_FMT_VAAPI) {
        if (const int code = openDevice(); code < 0)
            return code;
    }
    if (const int code = avcodec_open2(&context, codec, nullptr); code < 0)
        return code;
    return takeFrame();
}

int AVAssetWriterCodec::openDevice()
{
    AVBufferRef* device = nullptr;
    const char* const file = mChoice.device.empty() ? nullptr : mChoice.device.c_str();
    if (const int code = av_hwdevice_ctx_create(&device, AV_HWDEVICE_TYPE_VAAPI, file, nullptr, 0); code < 0)
        return code;
    mDevice.reset(device);
    std::unique_ptr<AVBufferRef, BufferDeleter> frames(av_hwframe_ctx_alloc(device));
    if (!frames)
        return AVERROR(ENOMEM);
    auto* const description = reinterpret_cast<AVHWFramesContext*>(frames->data);
    description->format = AV_PIX_FMT_VAAPI;
    description->sw_format = AV_PIX_FMT_NV12;
    description->width = mSettings.width;
    description->height = mSettings.height;
    description->initial_pool_size = framesInTheHardware;
    if (const int code = av_hwframe_ctx_init(frames.get()); code < 0)
        return code;
    mContext->hw_frames_ctx = frames.release();
    return 0;
}

/// Makes a frame that the encoder does not read any more the one in use. \return 0 or an error number of the library
int AVAssetWriterCodec::takeFrame()
{
    const auto unused = std::find_if(
        mFrames.begin(), mFrames.end(), [](const Frame& frame) { return av_frame_is_writable(frame.get()) > 0; });
    if (unused != mFrames.end()) {
        mFrame = unused->get();
        return 0;
    }
    Frame frame(av_frame_alloc());
    if (!frame)
        return AVERROR(ENOMEM);
    frame->format = mContext->pix_fmt == AV_PIX_FMT_VAAPI ? AV_PIX_FMT_NV12 : mContext->pix_fmt;
    frame->width = mSettings.width;
    frame->height = mSettings.height;
    frame->color_range = mContext->color_range;
    frame->color_primaries = mContext->color_primaries;
    frame->color_trc = mContext->color_trc;
    frame->colorspace = mContext->colorspace;
    if (const int code = av_frame_get_buffer(frame.get(), 0); code < 0)
        return code;
    mFrame = mFrames.emplace_back(std::move(frame)).get();
    return 0;
}

/// Of the encoder as it is open, or of the first picture that it gives. \return 0 or an error number of the library
int AVAssetWriterCodec::takeHeader()
{
    const auto* const bytes = reinterpret_cast<const std::byte*>(mContext->extradata);
    mHeader = AVAssetWriterNALUnits::parameterSets({ bytes, static_cast<std::size_t>(mContext->extradata_size) });
    if (!mHeader.empty())
        return 0;
    // Those that tell with their first picture only encode one for that, and are opened once more.
    constexpr std::uint64_t interval = 3000;
    constexpr int mostPictures = 30;
    std::memset(
        mFrame->data[0], 16, static_cast<std::size_t>(mFrame->linesize[0]) * static_cast<std::size_t>(mFrame->height));
    int code = 0;
    for (std::uint64_t index = 0; index < mostPictures && mHeader.empty() && code >= 0; ++index) {
        code = send(index * interval);
        while (code >= 0 && avcodec_receive_packet(mContext.get(), mPacket.get()) == 0) {
            const auto* const picture = reinterpret_cast<const std::byte*>(mPacket->data);
            if (mHeader.empty())
                mHeader = AVAssetWriterNALUnits::parameterSets({ picture, static_cast<std::size_t>(mPacket->size) });
            av_packet_unref(mPacket.get());
        }
    }
    if (code < 0 || mHeader.empty())
        return code < 0 ? code : AVERROR_INVALIDDATA;
    return openContext();
}

std::string AVAssetWriterCodec::action() const
{
    return "The encoder " + mChoice.name + " failed";
}

/// \return false when there is no memory for it
bool AVAssetWriterCodec::convert(CVPixelBufferRef picture)
{
    if (FAIL_POINT("AVAssetWriter.convertPicture") || takeFrame() < 0)
        return false;
    const int width = mSettings.width;
    const int height = mSettings.height;
    const auto* pixels = reinterpret_cast<const std::uint8_t*>(picture->baseAddress());
    auto stride = static_cast<int>(picture->bytesPerRow());
    const auto pictureWidth = static_cast<int>(picture->width());
    const auto pictureHeight = static_cast<int>(picture->height());
    // An odd last row or column, which the format cannot hold, is left out rather than squeezed in.
    if ((pictureWidth & ~1) != width || (pictureHeight & ~1) != height) {
        mScaled.resize(static_cast<std::size_t>(width) * 4 * static_cast<std::size_t>(height));
        libyuv::ARGBScale(
            pixels, stride, pictureWidth, pictureHeight, mScaled.data(), width * 4, width, height, libyuv::kFilterBox);
        pixels = mScaled.data();
        stride = width * 4;
    }
    if (mFrame->format == AV_PIX_FMT_YUV420P) {
        AVAssetWriterConvertToI420(pixels, stride, width, height,
            { mFrame->data[0], mFrame->data[1], mFrame->data[2], mFrame->linesize[0], mFrame->linesize[1] });
        return true;
    }
    const int half = width / 2;
    const std::size_t plane = static_cast<std::size_t>(half) * static_cast<std::size_t>(height / 2);
    mColours.resize(plane * 2);
    std::uint8_t* const u = mColours.data();
    std::uint8_t* const v = u + plane;
    AVAssetWriterConvertToI420(pixels, stride, width, height, { mFrame->data[0], u, v, mFrame->linesize[0], half });
    libyuv::MergeUVPlane(u, half, v, half, mFrame->data[1], mFrame->linesize[1], half, height / 2);
    return true;
}

/// \return 0 or an error number of the library
int AVAssetWriterCodec::send(std::uint64_t time)
{
    mFrame->pts = static_cast<std::int64_t>(time);
    if (!mContext->hw_frames_ctx)
        return avcodec_send_frame(mContext.get(), mFrame);
    const Frame there(av_frame_alloc());
    if (!there)
        return AVERROR(ENOMEM);
    if (const int code = av_hwframe_get_buffer(mContext->hw_frames_ctx, there.get(), 0); code < 0)
        return code;
    if (const int code = av_hwframe_transfer_data(there.get(), mFrame, 0); code < 0)
        return code;
    if (const int code = av_frame_copy_props(there.get(), mFrame); code < 0)
        return code;
    return avcodec_send_frame(mContext.get(), there.get());
}

Ref<NSError> AVAssetWriterCodec::encode(CVPixelBufferRef picture, std::uint64_t time, const Output& output)
{
    const AVAssetWriterLibraryMessages messages;
    if (!convert(picture))
        return NSError::errorWithErrno(ENOMEM, "Cannot convert a picture");
    if (const auto microseconds = FAIL_POINT("AVAssetWriter.encodeSlowly"))
        std::this_thread::sleep_for(std::chrono::microseconds(*microseconds));
    int code = FAIL_POINT("AVAssetWriter.encode").value_or(0);
    if (code == 0)
        code = send(time);
    if (code < 0)
        return messages.error(code, action());
    return receive(output);
}

Ref<NSError> AVAssetWriterCodec::finish(const Output& output)
{
    const AVAssetWriterLibraryMessages messages;
    if (const int code = avcodec_send_frame(mContext.get(), nullptr); code < 0)
        return messages.error(code, action());
    return receive(output);
}

Ref<NSError> AVAssetWriterCodec::receive(const Output& output)
{
    const AVAssetWriterLibraryMessages messages;
    for (;;) {
        const int code = avcodec_receive_packet(mContext.get(), mPacket.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return nullptr;
        if (code < 0)
            return messages.error(code, action());
        const std::span stream(
            reinterpret_cast<const std::byte*>(mPacket->data), static_cast<std::size_t>(mPacket->size));
        output(stream, static_cast<std::uint64_t>(mPacket->pts), (mPacket->flags & AV_PKT_FLAG_KEY) != 0);
        av_packet_unref(mPacket.get());
    }
}
