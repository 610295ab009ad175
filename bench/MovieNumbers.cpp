#include "MovieNumbers.h"

#include "Platform/AVFoundation/TestPictureCounter.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <memory>
#include <stdexcept>

namespace {

struct Deleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

void readFrames(AVCodecContext* decoder, std::vector<std::uint32_t>& numbers)
{
    const std::unique_ptr<AVFrame, Deleter> frame(av_frame_alloc());
    while (avcodec_receive_frame(decoder, frame.get()) == 0) {
        const auto stride = static_cast<std::size_t>(frame->linesize[0]);
        const std::span plane(
            reinterpret_cast<const std::byte*>(frame->data[0]), stride * static_cast<std::size_t>(frame->height));
        if (const auto number = TestPictureCounter::readLuma(plane, frame->width, frame->height, stride))
            numbers.push_back(*number);
        av_frame_unref(frame.get());
    }
}

}

std::vector<std::uint32_t> numbersInMovie(const std::string& path)
{
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0)
        throw std::runtime_error("cannot read the movie " + path);
    const std::unique_ptr<AVFormatContext, Deleter> file(opened);
    const AVCodec* codec = nullptr;
    avformat_find_stream_info(file.get(), nullptr);
    const int stream = av_find_best_stream(file.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (stream < 0)
        throw std::runtime_error("the movie " + path + " has no pictures");
    const std::unique_ptr<AVCodecContext, Deleter> decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), file->streams[stream]->codecpar);
    avcodec_open2(decoder.get(), codec, nullptr);
    std::vector<std::uint32_t> numbers;
    const std::unique_ptr<AVPacket, Deleter> packet(av_packet_alloc());
    while (av_read_frame(file.get(), packet.get()) == 0) {
        if (packet->stream_index == stream && avcodec_send_packet(decoder.get(), packet.get()) == 0)
            readFrames(decoder.get(), numbers);
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(decoder.get(), nullptr);
    readFrames(decoder.get(), numbers);
    return numbers;
}
