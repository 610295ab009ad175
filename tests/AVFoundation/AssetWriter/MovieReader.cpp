#include "MovieReader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <span>

namespace {

struct Deleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

void receivePictures(AVCodecContext* decoder, MovieContents& contents)
{
    const std::unique_ptr<AVFrame, Deleter> frame(av_frame_alloc());
    while (avcodec_receive_frame(decoder, frame.get()) == 0) {
        ++contents.decodedPictures;
        for (std::size_t plane = 0; plane < 3; ++plane) {
            const auto width = static_cast<std::size_t>(plane == 0 ? frame->width : frame->width / 2);
            const auto height = static_cast<std::size_t>(plane == 0 ? frame->height : frame->height / 2);
            contents.lastPlanes[plane].resize(width * height);
            for (std::size_t row = 0; row < height; ++row)
                std::copy_n(frame->data[plane] + static_cast<std::ptrdiff_t>(row) * frame->linesize[plane], width,
                    &contents.lastPlanes[plane][row * width]);
        }
        const int x = frame->width / 2;
        const int y = frame->height / 2;
        contents.middles.push_back({ frame->data[0][y * frame->linesize[0] + x],
            frame->data[1][y / 2 * frame->linesize[1] + x / 2], frame->data[2][y / 2 * frame->linesize[2] + x / 2] });
        av_frame_unref(frame.get());
    }
}

/// Reads unsigned numbers of variable length (ITU-T H.264, 9.1).
class BitReader {
public:
    explicit BitReader(std::span<const std::uint8_t> bytes)
        : mBytes(bytes)
    {
    }
    unsigned number()
    {
        unsigned zeros = 0;
        while (zeros < 31 && bit() == 0)
            ++zeros;
        unsigned value = 1;
        for (unsigned index = 0; index < zeros; ++index)
            value = value << 1 | bit();
        return value - 1;
    }

private:
    unsigned bit()
    {
        if (mPosition / 8 >= mBytes.size())
            return 1;
        const unsigned value = mBytes[mPosition / 8] >> (7 - mPosition % 8) & 1U;
        ++mPosition;
        return value;
    }
    std::span<const std::uint8_t> mBytes;
    std::size_t mPosition = 0;
};

/// Notes the picture parameter set that a picture's slice names (ITU-T H.264, 7.3.3).
void noteParameterSet(std::span<const std::uint8_t> sample, MovieContents& contents)
{
    while (sample.size() > 5) {
        const std::size_t size = std::size_t { sample[0] } << 24 | std::size_t { sample[1] } << 16
            | std::size_t { sample[2] } << 8 | std::size_t { sample[3] };
        const unsigned type = sample[4] & 31U;
        if (type == 1 || type == 5) {
            BitReader bits(sample.subspan(5));
            bits.number(); // first macroblock
            bits.number(); // slice type
            ++contents.pictureParameterSets[bits.number()];
            return;
        }
        sample = sample.subspan(std::min(sample.size(), size + 4));
    }
}

void describe(const AVStream* stream, MovieContents& contents)
{
    const auto& parameters = *stream->codecpar;
    const bool isPicture = parameters.codec_type == AVMEDIA_TYPE_VIDEO;
    auto& result = isPicture ? contents.picture : contents.sound;
    const double unit = av_q2d(stream->time_base);
    result.codec = avcodec_get_name(parameters.codec_id);
    result.startTime = static_cast<double>(stream->start_time) * unit;
    result.duration = static_cast<double>(stream->duration) * unit;
    if (isPicture) {
        contents.width = parameters.width;
        contents.height = parameters.height;
        contents.primaries = parameters.color_primaries;
        contents.transfer = parameters.color_trc;
        contents.matrix = parameters.color_space;
        contents.range = parameters.color_range;
        if (const auto* const matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr))
            contents.rotation = av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
    } else {
        contents.sampleRate = parameters.sample_rate;
        contents.channels = parameters.ch_layout.nb_channels;
    }
}

}

MovieContents readMovie(const std::string& path)
{
    MovieContents contents;
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0)
        return contents;
    const std::unique_ptr<AVFormatContext, Deleter> file(opened);
    if (avformat_find_stream_info(file.get(), nullptr) < 0)
        return contents;
    contents.isReadable = true;
    contents.duration = static_cast<double>(file->duration) / AV_TIME_BASE;

    std::unique_ptr<AVCodecContext, Deleter> decoder;
    for (unsigned index = 0; index < file->nb_streams; ++index) {
        const auto* const stream = file->streams[index];
        describe(stream, contents);
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            const auto* const codec = avcodec_find_decoder(stream->codecpar->codec_id);
            decoder.reset(avcodec_alloc_context3(codec));
            avcodec_parameters_to_context(decoder.get(), stream->codecpar);
            decoder->err_recognition = AV_EF_EXPLODE;
            avcodec_open2(decoder.get(), codec, nullptr);
        }
    }
    const std::unique_ptr<AVPacket, Deleter> packet(av_packet_alloc());
    while (av_read_frame(file.get(), packet.get()) == 0) {
        const auto* const stream = file->streams[packet->stream_index];
        const bool isPicture = stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
        const double unit = av_q2d(stream->time_base);
        (isPicture ? contents.picture : contents.sound)
            .packets.push_back({ static_cast<double>(packet->pts) * unit, static_cast<double>(packet->duration) * unit,
                (packet->flags & AV_PKT_FLAG_KEY) != 0 });
        if (isPicture) {
            noteParameterSet({ packet->data, static_cast<std::size_t>(packet->size) }, contents);
            contents.decodingErrors += avcodec_send_packet(decoder.get(), packet.get()) < 0 ? 1 : 0;
            receivePictures(decoder.get(), contents);
        } else {
            const auto* const bytes = reinterpret_cast<const std::byte*>(packet->data);
            contents.soundBytes.insert(contents.soundBytes.end(), bytes, bytes + packet->size);
        }
        av_packet_unref(packet.get());
    }
    if (decoder) {
        avcodec_send_packet(decoder.get(), nullptr);
        receivePictures(decoder.get(), contents);
    }
    return contents;
}

std::vector<std::byte> readBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string text { std::istreambuf_iterator<char>(file), {} };
    const auto bytes = std::as_bytes(std::span(text));
    return { bytes.begin(), bytes.end() };
}

std::vector<std::pair<std::string, std::uint64_t>> readBoxes(const std::string& path)
{
    const auto bytes = readBytes(path);
    const auto number = [&](std::size_t position, std::size_t count) {
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < count; ++index)
            value = value << 8 | std::to_integer<std::uint64_t>(bytes[position + index]);
        return value;
    };
    std::vector<std::pair<std::string, std::uint64_t>> boxes;
    std::size_t position = 0;
    while (position < bytes.size()) {
        std::uint64_t size = 0;
        std::string type = "????";
        if (position + 8 <= bytes.size()) {
            size = number(position, 4);
            type.assign(reinterpret_cast<const char*>(&bytes[position + 4]), 4);
            if (size == 1 && position + 16 <= bytes.size())
                size = number(position + 8, 8);
        }
        const bool isWhole = size >= 8 && size <= bytes.size() - position;
        boxes.emplace_back(isWhole ? type : "????", size);
        if (!isWhole)
            break;
        position += size;
    }
    return boxes;
}
