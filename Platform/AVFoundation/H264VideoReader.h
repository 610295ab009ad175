#pragma once

#include "Platform/AVFoundation/VideoSampleReader.h"

#include <span>

extern "C" {
#include <libavcodec/avcodec.h>
}

/// Reads H.264. Each picture is given as soon as its sample is there, and damage costs no more than the pictures that
/// it touches: the library covers it up from what it has until the next whole picture comes.
///
/// Where the stream does not say how its colours are encoded, they are BT.709 from 720 lines on and BT.601 below, as
/// players take it.
class H264VideoReader final : public VideoSampleReader {
public:
    static constexpr const char* mediaType = "video/x-h264";
    /// \return null when the library has no decoder, or the caps' own data is damaged
    static std::unique_ptr<H264VideoReader> readerOf(const GstCaps* caps);

    explicit H264VideoReader(bool isInPieces);
    bool needsEverySample() const override { return true; }
    bool goesOnWith(const GstCaps* caps) const override;
    std::optional<Picture> read(GstSample* sample, std::int64_t hostTime) override;
    void finish() override;

private:
    bool open(GstBuffer* streamHeader);
    void decode(std::span<const std::uint8_t> data, std::int64_t hostTime);
    void decodePieces(std::span<const std::uint8_t> data, std::int64_t hostTime);
    std::optional<VideoFrameConverter::Frame> frame() const;

    struct ContextDeleter {
        void operator()(AVCodecContext* context) const noexcept { avcodec_free_context(&context); }
    };
    struct ParserDeleter {
        void operator()(AVCodecParserContext* parser) const noexcept { av_parser_close(parser); }
    };
    struct FrameDeleter {
        void operator()(AVFrame* frame) const noexcept { av_frame_free(&frame); }
    };
    struct PacketDeleter {
        void operator()(AVPacket* packet) const noexcept { av_packet_free(&packet); }
    };
    std::unique_ptr<AVCodecContext, ContextDeleter> mContext;
    std::unique_ptr<AVCodecParserContext, ParserDeleter> mParser; ///< where a sample need not be a whole picture
    std::vector<std::uint8_t> mPieces; ///< the last sample for the parser
    const std::unique_ptr<AVFrame, FrameDeleter> mNext;
    const std::unique_ptr<AVFrame, FrameDeleter> mFrame; ///< the newest picture
    const std::unique_ptr<AVPacket, PacketDeleter> mPacket;
    bool mDescribesItself = true; ///< sizes and the like come within the samples
};
