// A microphone for tests: a PipeWire source that is silent but for a click of a millisecond at every full second of the
// monotonic clock. A run that it brings was taken until the graph's cycle began, as with a real one.

#include <cmath>
#include <cstdint>

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

namespace {

constexpr double rate = 48000;

struct Microphone {
    pw_stream* stream = nullptr;
    double time = 0; ///< of the next frame, in seconds; 0 before the first
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
        std::uint32_t frames = plane.maxsize / sizeof(float);
        if (buffer->requested > 0 && buffer->requested < frames)
            frames = static_cast<std::uint32_t>(buffer->requested);
        const double duration = frames / rate;
        // Its crystal is the one that drives the graph. What it takes in a cycle that the machine misses is lost.
        const double begin = cycle(microphone.stream) - duration;
        if (std::abs(begin - microphone.time) > 0.002)
            microphone.time = begin;
        for (std::uint32_t frame = 0; frame < frames; ++frame, microphone.time += 1 / rate)
            samples[frame] = std::abs(microphone.time - std::round(microphone.time)) < 0.0005 ? 0.9F : 0;
        plane.chunk->offset = 0;
        plane.chunk->stride = sizeof(float);
        plane.chunk->size = frames * static_cast<std::uint32_t>(sizeof(float));
    }
    pw_stream_queue_buffer(microphone.stream, buffer);
}

}

int main(int count, char** arguments)
{
    pw_init(&count, &arguments);
    pw_main_loop* const loop = pw_main_loop_new(nullptr);
    Microphone microphone;
    pw_stream_events events {};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = process;
    microphone.stream = pw_stream_new_simple(pw_main_loop_get_loop(loop), "Clicking Microphone",
        pw_properties_new(PW_KEY_MEDIA_CLASS, "Audio/Source", PW_KEY_NODE_NAME, "clicking-microphone",
            PW_KEY_NODE_DESCRIPTION, "Clicking Microphone", nullptr),
        &events, &microphone);
    std::uint8_t memory[1024];
    spa_pod_builder builder {};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    spa_audio_info_raw format {};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = static_cast<std::uint32_t>(rate);
    format.channels = 1;
    const spa_pod* parameters[] { spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format) };
    if (pw_stream_connect(microphone.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS), parameters, 1)
        < 0)
        return 1;
    pw_main_loop_run(loop);
    return 0;
}
