// A microphone for tests: a PipeWire source that is silent but for a click of a millisecond at every full second of the
// monotonic clock. A run that it brings was taken until the graph's cycle began, as with a real one.
//
//     clicking-microphone [NAME HERTZ RATE CHANNELS]
//
// With arguments it hears a soft tone in all its channels instead.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <numbers>
#include <string>

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

namespace {

struct Microphone {
    pw_stream* stream = nullptr;
    double time = 0; ///< of the next frame, in seconds; 0 before the first
    std::string name = "Clicking Microphone";
    double hertz = 0; ///< of the tone; 0 for clicks
    double rate = 48000;
    std::uint32_t channels = 1;

    float sample() const
    {
        if (hertz > 0)
            return static_cast<float>(0.02 * std::sin(2 * std::numbers::pi * std::fmod(hertz * time, 1.0)));
        return std::abs(time - std::round(time)) < 0.0005 ? 0.9F : 0;
    }
};

/// When the graph's present cycle began.
double cycle(pw_stream* stream)
{
    pw_time time {};
    pw_stream_get_time_n(stream, &time, sizeof time);
    return static_cast<double>(time.now) / 1e9;
}

void process(void* data)
{
    auto& microphone = *static_cast<Microphone*>(data);
    pw_buffer* const buffer = pw_stream_dequeue_buffer(microphone.stream);
    if (!buffer)
        return;
    auto& plane = buffer->buffer->datas[0];
    if (auto* const samples = static_cast<float*>(plane.data)) {
        const auto frameSize = static_cast<std::uint32_t>(sizeof(float)) * microphone.channels;
        std::uint32_t frames = plane.maxsize / frameSize;
        if (buffer->requested > 0 && buffer->requested < frames)
            frames = static_cast<std::uint32_t>(buffer->requested);
        const double duration = frames / microphone.rate;
        // Its crystal is the one that drives the graph. What it takes in a cycle that the machine misses is lost.
        const double begin = cycle(microphone.stream) - duration;
        if (std::abs(begin - microphone.time) > 0.002)
            microphone.time = begin;
        for (std::uint32_t frame = 0; frame < frames; ++frame, microphone.time += 1 / microphone.rate)
            std::fill_n(
                samples + std::size_t { frame } * microphone.channels, microphone.channels, microphone.sample());
        plane.chunk->offset = 0;
        plane.chunk->stride = static_cast<std::int32_t>(frameSize);
        plane.chunk->size = frames * frameSize;
    }
    pw_stream_queue_buffer(microphone.stream, buffer);
}

}

int main(int count, char** arguments)
{
    pw_init(&count, &arguments);
    pw_main_loop* const loop = pw_main_loop_new(nullptr);
    Microphone microphone;
    if (count == 5) {
        microphone.name = arguments[1];
        microphone.hertz = std::atof(arguments[2]);
        microphone.rate = std::atof(arguments[3]);
        microphone.channels = static_cast<std::uint32_t>(std::atoi(arguments[4]));
    }
    pw_stream_events events {};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = process;
    microphone.stream = pw_stream_new_simple(pw_main_loop_get_loop(loop), microphone.name.c_str(),
        pw_properties_new(PW_KEY_MEDIA_CLASS, "Audio/Source", PW_KEY_NODE_NAME, microphone.name.c_str(),
            PW_KEY_NODE_DESCRIPTION, microphone.name.c_str(), nullptr),
        &events, &microphone);
    std::uint8_t memory[1024];
    spa_pod_builder builder {};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    spa_audio_info_raw format {};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = static_cast<std::uint32_t>(microphone.rate);
    format.channels = microphone.channels;
    constexpr std::uint32_t places[] { SPA_AUDIO_CHANNEL_FL, SPA_AUDIO_CHANNEL_FR, SPA_AUDIO_CHANNEL_FC,
        SPA_AUDIO_CHANNEL_LFE, SPA_AUDIO_CHANNEL_RL, SPA_AUDIO_CHANNEL_RR };
    if (format.channels == 1)
        format.position[0] = SPA_AUDIO_CHANNEL_MONO;
    else
        std::copy_n(places, std::min<std::size_t>(format.channels, std::size(places)), format.position);
    const spa_pod* parameters[] { spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format) };
    if (pw_stream_connect(microphone.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS), parameters, 1)
        < 0)
        return 1;
    pw_main_loop_run(loop);
    return 0;
}
