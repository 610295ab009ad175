#include "Platform/AVFoundation/GStreamerAudioSource.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"

namespace {

constexpr std::int64_t nanosecondsInSecond = 1'000'000'000;
constexpr std::size_t bytesPerFrame = AVCaptureAudioDataOutput::channels * sizeof(std::int16_t);

}

const char* GStreamerAudioSource::deliveredCaps() const
{
    return "audio/x-raw,format=S16LE,layout=interleaved,rate=48000,channels=2";
}

void GStreamerAudioSource::configure(GstElement* source)
{
    GStreamerSource::configure(source);
    GObjectClass* const type = G_OBJECT_GET_CLASS(source);
    if (g_object_class_find_property(type, "buffer-time") && g_object_class_find_property(type, "latency-time")) {
        // Short runs, and a ring long enough to survive a busy moment; in microseconds.
        g_object_set(source, "buffer-time", gint64 { 200'000 }, "latency-time", gint64 { 20'000 }, nullptr);
        return;
    }
    mStampsArrival = true;
    if (g_object_class_find_property(type, "stream-properties")) {
        const GstStructureOwner properties(
            gst_structure_new("props", "node.latency", G_TYPE_STRING, "960/48000", nullptr));
        g_object_set(source, "stream-properties", properties.get(), nullptr);
    }
}

void GStreamerAudioSource::sampleCame(GstSample* sample)
{
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    GstMapInfo map;
    if (!buffer || !gst_buffer_map(buffer, &map, GST_MAP_READ))
        return;
    const auto* const bytes = reinterpret_cast<const std::byte*>(map.data);
    std::vector<std::byte> samples(bytes, bytes + map.size / bytesPerFrame * bytesPerFrame);
    gst_buffer_unmap(buffer, &map);

    const auto frames = static_cast<std::int64_t>(samples.size() / bytesPerFrame);
    std::int64_t time = hostTimeOf(sample);
    if (mStampsArrival)
        time -= frames * nanosecondsInSecond / AVCaptureAudioDataOutput::sampleRate;
    sink().soundCame(std::move(samples), mClock.stamp(time, frames));
}
