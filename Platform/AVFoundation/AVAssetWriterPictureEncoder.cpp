#include "Platform/AVFoundation/AVAssetWriterPictureEncoder.h"

#include "Platform/AVFoundation/AVAssetWriterNALUnits.h"
#include "Platform/AVFoundation/AVAssetWriterPictureConverter.h"
#include "Platform/CoreFoundation/FailPoint.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
}
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cstdio>
#include <thread>

namespace {

/// Frames that wait for use again. Steady running needs one or two; what a stall needed more is given back.
constexpr std::size_t keptFrames = 4;

/// What the library says on this thread while an object of this kind lives; its error numbers alone say too little.
class LibraryMessages {
public:
    LibraryMessages()
    {
        static std::once_flag once;
        std::call_once(once, [] { av_log_set_callback(&LibraryMessages::receive); });
        sCurrent = this;
    }
    ~LibraryMessages() { sCurrent = nullptr; }
    LibraryMessages(const LibraryMessages&) = delete;
    LibraryMessages& operator=(const LibraryMessages&) = delete;

    Ref<NSError> error(int code, std::string_view action) const
    {
        char words[AV_ERROR_MAX_STRING_SIZE] = {};
        av_strerror(code, words, sizeof words);
        std::string message(action);
        message += ": ";
        message += words;
        if (!mText.empty())
            message += " (" + mText + ")";
        return NSError::errorWithMessage(CFSTR("libavcodec"), code, message);
    }

private:
    static void receive(void* context, int level, const char* format, va_list arguments)
    {
        if (level > AV_LOG_ERROR || !sCurrent)
            return;
        char line[512] = {};
        int atStart = 1;
        av_log_format_line(context, level, format, arguments, line, sizeof line, &atStart);
        auto& text = sCurrent->mText;
        text = line;
        text.erase(
            std::find_if(text.rbegin(), text.rend(), [](char letter) { return letter > ' '; }).base(), text.end());
    }

    static thread_local LibraryMessages* sCurrent;
    std::string mText;
};

thread_local LibraryMessages* LibraryMessages::sCurrent = nullptr;

/// One thread costs the least and keeps no picture back; what is larger than 1080 lines needs more to keep up.
int threadsFor(int width, int height)
{
    constexpr int largestForOne = 1920 * 1088;
    if (width * height <= largestForOne)
        return 1;
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 4U));
}

/// Chosen by measurement, 1280x720 at 10.5 Mbit/s on one thread: against "superfast" the preset "ultrafast" takes less
/// than half of the processor (6.9 to 8.8 ms against 13.9 to 19.1 ms a frame on a busy machine) and loses at most
/// 0.4 dB (footage: 51.7 against 52.1 dB; noisy footage: 37.8 against 38.0 dB; synthetic noise: 31.6 against 31.5 dB).
/// Quantisers under 15 would spend bits and another fifth of the time on what nobody sees: 47 dB is left.
void tune(AVCodecContext& context)
{
    context.qmin = 15;
    av_opt_set(context.priv_data, "preset", "ultrafast", 0);
}

}

void AVAssetWriterPictureEncoder::FrameDeleter::operator()(AVFrame* frame) const
{
    av_frame_free(&frame);
}

void AVAssetWriterPictureEncoder::ContextDeleter::operator()(AVCodecContext* context) const
{
    avcodec_free_context(&context);
}

void AVAssetWriterPictureEncoder::PacketDeleter::operator()(AVPacket* packet) const
{
    av_packet_free(&packet);
}

AVAssetWriterPictureEncoder::AVAssetWriterPictureEncoder(Context context)
    : mContext(std::move(context))
    , mPacket(av_packet_alloc())
{
}

AVAssetWriterPictureEncoder::~AVAssetWriterPictureEncoder() = default;

std::unique_ptr<AVAssetWriterPictureEncoder> AVAssetWriterPictureEncoder::open(
    const Settings& settings, Ref<NSError>* error)
{
    if (const auto status = FAIL_POINT("AVAssetWriter.openEncoder")) {
        NSErrorReturn(error, LibraryMessages().error(*status, "Cannot open an H.264 encoder"));
        return nullptr;
    }
    // Those of the hardware encoders that take pictures from plain memory, then the one that opens everywhere.
    for (const char* const name : { "h264_nvenc", "libx264" }) {
        if (auto context = openCodec(name, settings, error)) {
            NSErrorReturn(error, nullptr);
            return std::unique_ptr<AVAssetWriterPictureEncoder>(new AVAssetWriterPictureEncoder(std::move(context)));
        }
    }
    return nullptr;
}

AVAssetWriterPictureEncoder::Context AVAssetWriterPictureEncoder::openCodec(
    const char* name, const Settings& settings, Ref<NSError>* error)
{
    const LibraryMessages messages;
    const auto* const codec = avcodec_find_encoder_by_name(name);
    Context context(codec ? avcodec_alloc_context3(codec) : nullptr);
    const std::string action = std::string("Cannot open the encoder ") + name;
    if (!context) {
        NSErrorReturn(error, messages.error(codec ? AVERROR(ENOMEM) : AVERROR_ENCODER_NOT_FOUND, action));
        return nullptr;
    }
    context->width = settings.width;
    context->height = settings.height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = { 1, static_cast<int>(AVAssetWriterTrack::pictureTimescale) };
    context->framerate = { 30, 1 };
    context->bit_rate = settings.bitRate;
    context->gop_size = settings.keyFrameInterval;
    context->max_b_frames = 0; // decoding order is showing order
    context->thread_count = threadsFor(settings.width, settings.height);
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    context->color_range = AVCOL_RANGE_MPEG;
    context->color_primaries = AVCOL_PRI_BT709;
    context->color_trc = AVCOL_TRC_IEC61966_2_1; // screens' pictures are sRGB
    context->colorspace = AVCOL_SPC_BT709;
    context->chroma_sample_location = AVCHROMA_LOC_CENTER;
    if (codec == avcodec_find_encoder_by_name("libx264"))
        tune(*context);
    if (const int code = avcodec_open2(context.get(), codec, nullptr); code < 0) {
        NSErrorReturn(error, messages.error(code, action));
        return nullptr;
    }
    const std::span header(
        reinterpret_cast<const std::byte*>(context->extradata), static_cast<std::size_t>(context->extradata_size));
    if (AVAssetWriterNALUnits::decoderConfiguration(header).empty()) {
        NSErrorReturn(error, messages.error(AVERROR_INVALIDDATA, action));
        return nullptr;
    }
    return context;
}

std::string AVAssetWriterPictureEncoder::name() const
{
    return mContext->codec->name;
}

AVAssetWriterTrack::PictureFormat AVAssetWriterPictureEncoder::trackFormat() const
{
    const std::span header(
        reinterpret_cast<const std::byte*>(mContext->extradata), static_cast<std::size_t>(mContext->extradata_size));
    AVAssetWriterTrack::PictureFormat format;
    format.width = static_cast<std::uint16_t>(mContext->width);
    format.height = static_cast<std::uint16_t>(mContext->height);
    format.decoderConfiguration = AVAssetWriterNALUnits::decoderConfiguration(header);
    format.primaries = static_cast<std::uint16_t>(mContext->color_primaries);
    format.transfer = static_cast<std::uint16_t>(mContext->color_trc);
    format.matrix = static_cast<std::uint16_t>(mContext->colorspace);
    return format;
}

AVAssetWriterPictureEncoder::Frame AVAssetWriterPictureEncoder::convert(CVPixelBufferRef picture)
{
    if (FAIL_POINT("AVAssetWriter.convertPicture"))
        return nullptr;
    auto frame = takeFrame();
    if (!frame)
        return nullptr;
    const int width = mContext->width;
    const int height = mContext->height;
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
    AVAssetWriterConvertToI420(pixels, stride, width, height,
        { frame->data[0], frame->data[1], frame->data[2], frame->linesize[0], frame->linesize[1] });
    return frame;
}

AVAssetWriterPictureEncoder::Frame AVAssetWriterPictureEncoder::takeFrame()
{
    {
        const std::scoped_lock lock(mFramesLock);
        // The encoder may still read a picture that it was given.
        const auto unused = std::find_if(
            mFrames.begin(), mFrames.end(), [](const Frame& frame) { return av_frame_is_writable(frame.get()) > 0; });
        if (unused != mFrames.end()) {
            auto frame = std::move(*unused);
            mFrames.erase(unused);
            return frame;
        }
    }
    Frame frame(av_frame_alloc());
    if (!frame)
        return nullptr;
    frame->format = mContext->pix_fmt;
    frame->width = mContext->width;
    frame->height = mContext->height;
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        return nullptr;
    return frame;
}

void AVAssetWriterPictureEncoder::putFrame(Frame frame)
{
    const std::scoped_lock lock(mFramesLock);
    if (mFrames.size() < keptFrames)
        mFrames.push_back(std::move(frame));
}

Ref<NSError> AVAssetWriterPictureEncoder::encode(Frame frame, std::uint64_t time, const Output& output)
{
    const LibraryMessages messages;
    frame->pts = static_cast<std::int64_t>(time);
    int code = FAIL_POINT("AVAssetWriter.encode").value_or(0);
    if (code == 0)
        code = avcodec_send_frame(mContext.get(), frame.get());
    if (code < 0)
        return messages.error(code, "The encoder " + name() + " failed");
    putFrame(std::move(frame));
    return receive(output);
}

Ref<NSError> AVAssetWriterPictureEncoder::finish(const Output& output)
{
    const LibraryMessages messages;
    const int code = avcodec_send_frame(mContext.get(), nullptr);
    if (code < 0)
        return messages.error(code, "The encoder " + name() + " failed");
    return receive(output);
}

Ref<NSError> AVAssetWriterPictureEncoder::receive(const Output& output)
{
    const LibraryMessages messages;
    for (;;) {
        const int code = avcodec_receive_packet(mContext.get(), mPacket.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return nullptr;
        if (code < 0)
            return messages.error(code, "The encoder " + name() + " failed");
        const std::span stream(
            reinterpret_cast<const std::byte*>(mPacket->data), static_cast<std::size_t>(mPacket->size));
        output(AVAssetWriterNALUnits::sample(stream), static_cast<std::uint64_t>(mPacket->pts),
            (mPacket->flags & AV_PKT_FLAG_KEY) != 0);
        av_packet_unref(mPacket.get());
    }
}
