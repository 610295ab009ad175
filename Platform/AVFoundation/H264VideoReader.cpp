#include "Platform/AVFoundation/H264VideoReader.h"

#include "Platform/AVFoundation/MappedBuffer.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cstring>

namespace {

using Frame = VideoFrameConverter::Frame;
using Layout = VideoFrameConverter::Layout;
using Matrix = VideoFrameConverter::Matrix;

constexpr int highDefinitionLines = 720;

std::optional<Layout> layoutOf(int format)
{
    switch (format) {
    case AV_PIX_FMT_GRAY8:
        return Layout::I400;
    case AV_PIX_FMT_YUV420P:
    case AV_PIX_FMT_YUVJ420P:
        return Layout::I420;
    case AV_PIX_FMT_YUV422P:
    case AV_PIX_FMT_YUVJ422P:
        return Layout::I422;
    case AV_PIX_FMT_YUV444P:
    case AV_PIX_FMT_YUVJ444P:
        return Layout::I444;
    default: // more than eight bits, which no camera has been seen to send
        return std::nullopt;
    }
}

Matrix matrixOf(const AVFrame& frame)
{
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
    case AVCOL_SPC_SMPTE240M: // differs by less than a hundredth
        return Matrix::BT709;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return Matrix::BT2020;
    case AVCOL_SPC_UNSPECIFIED:
        return frame.height >= highDefinitionLines ? Matrix::BT709 : Matrix::BT601;
    default:
        return Matrix::BT601;
    }
}

GstBuffer* streamHeaderOf(const GstCaps* caps)
{
    const GValue* const value = gst_structure_get_value(gst_caps_get_structure(caps, 0), "codec_data");
    return value ? gst_value_get_buffer(value) : nullptr;
}

}

std::unique_ptr<H264VideoReader> H264VideoReader::readerOf(const GstCaps* caps)
{
    const char* const alignment = gst_structure_get_string(gst_caps_get_structure(caps, 0), "alignment");
    auto reader = std::make_unique<H264VideoReader>(g_strcmp0(alignment, "nal") == 0);
    return reader->open(streamHeaderOf(caps)) ? std::move(reader) : nullptr;
}

H264VideoReader::H264VideoReader(bool isInPieces)
    : mParser(isInPieces ? av_parser_init(AV_CODEC_ID_H264) : nullptr)
    , mNext(av_frame_alloc())
    , mFrame(av_frame_alloc())
    , mPacket(av_packet_alloc())
{
}

bool H264VideoReader::open(GstBuffer* streamHeader)
{
    const AVCodec* const codec = avcodec_find_decoder(AV_CODEC_ID_H264);
    mContext.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!mContext || !mNext || !mFrame || !mPacket)
        return false;
    // Threads that share out whole pictures would keep each one back for as many others.
    mContext->flags |= AV_CODEC_FLAG_LOW_DELAY;
    mContext->thread_type = FF_THREAD_SLICE;
    // A bad cable would fill the log.
    mContext->log_level_offset = AV_LOG_TRACE;
    const MappedBuffer header(streamHeader);
    if (const auto bytes = header.bytes(); !bytes.empty()) {
        mDescribesItself = false;
        auto* const copy = static_cast<std::uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        if (!copy)
            return false;
        std::ranges::copy(bytes, copy);
        mContext->extradata = copy; // the context's from here on
        mContext->extradata_size = static_cast<int>(bytes.size());
    }
    return avcodec_open2(mContext.get(), codec, nullptr) >= 0;
}

bool H264VideoReader::goesOnWith(const GstCaps* caps) const
{
    // A new size, told within the stream or not, needs no new decoder; one would first wait for a whole picture.
    const GstStructure* const structure = gst_caps_get_structure(caps, 0);
    const bool isInPieces = g_strcmp0(gst_structure_get_string(structure, "alignment"), "nal") == 0;
    return gst_structure_has_name(structure, mediaType) && mDescribesItself && !streamHeaderOf(caps)
        && isInPieces == static_cast<bool>(mParser);
}

std::optional<VideoSampleReader::Picture> H264VideoReader::read(GstSample* sample, std::int64_t hostTime)
{
    finish();
    const MappedBuffer buffer(gst_sample_get_buffer(sample));
    if (mParser)
        decodePieces(buffer.bytes(), hostTime);
    else
        decode(buffer.bytes(), hostTime);
    const auto newest = frame();
    return newest ? std::optional(Picture { *newest, mFrame->pts }) : std::nullopt;
}

void H264VideoReader::finish()
{
    av_frame_unref(mFrame.get());
}

void H264VideoReader::decodePieces(std::span<const std::uint8_t> data, std::int64_t hostTime)
{
    // A copy, since the library reads a little past the end.
    mPieces.assign(data.begin(), data.end());
    mPieces.resize(data.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    data = std::span<const std::uint8_t>(mPieces).first(data.size());
    while (!data.empty()) {
        std::uint8_t* whole = nullptr;
        int size = 0;
        const int used = av_parser_parse2(mParser.get(), mContext.get(), &whole, &size, data.data(),
            static_cast<int>(data.size()), hostTime, AV_NOPTS_VALUE, 0);
        if (used < 0)
            return;
        if (size > 0)
            decode({ whole, static_cast<std::size_t>(size) }, mParser->pts != AV_NOPTS_VALUE ? mParser->pts : hostTime);
        data = data.subspan(static_cast<std::size_t>(used));
    }
}

void H264VideoReader::decode(std::span<const std::uint8_t> data, std::int64_t hostTime)
{
    // A copy, since the library reads a little past the end.
    if (data.empty() || av_new_packet(mPacket.get(), static_cast<int>(data.size())) < 0)
        return;
    std::ranges::copy(data, mPacket->data);
    mPacket->pts = hostTime;
    // What is damaged is refused here, and the next sample is tried all the same.
    avcodec_send_packet(mContext.get(), mPacket.get());
    av_packet_unref(mPacket.get());
    while (avcodec_receive_frame(mContext.get(), mNext.get()) >= 0) {
        av_frame_unref(mFrame.get());
        av_frame_move_ref(mFrame.get(), mNext.get());
    }
}

std::optional<VideoFrameConverter::Frame> H264VideoReader::frame() const
{
    const auto layout = mFrame->data[0] ? layoutOf(mFrame->format) : std::nullopt;
    if (!layout)
        return std::nullopt;
    Frame result;
    result.layout = *layout;
    result.dimensions = { mFrame->width, mFrame->height };
    for (std::size_t plane = 0; plane < result.planes.size(); ++plane)
        result.planes[plane] = { mFrame->data[plane], mFrame->linesize[plane] };
    result.isFullRange = mFrame->color_range == AVCOL_RANGE_JPEG;
    result.matrix = matrixOf(*mFrame);
    result.pixelWidth = std::max(1, mFrame->sample_aspect_ratio.num);
    result.pixelHeight = std::max(1, mFrame->sample_aspect_ratio.den);
    if (mFrame->interlaced_frame)
        VideoFrameConverter::takeOneField(result);
    return result;
}
