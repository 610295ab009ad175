#include "Platform/AVFoundation/GStreamerAudioSource.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/CoreFoundation/HostClock.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gst/audio/gstaudiobasesrc.h>

namespace {

constexpr std::size_t bytesPerFrame = SoundResampler::channels * sizeof(std::int16_t);

int rateOf(GstSample* sample)
{
    int rate = 0;
    const GstCaps* const caps = gst_sample_get_caps(sample);
    if (caps && gst_caps_get_size(caps) > 0)
        gst_structure_get_int(gst_caps_get_structure(caps, 0), "rate", &rate);
    return rate;
}

}

const char* GStreamerAudioSource::deliveredCaps() const
{
    return "audio/x-raw,format=S16LE,layout=interleaved,channels=2,rate=48000;"
           "audio/x-raw,format=S16LE,layout=interleaved,channels=2,rate=[8000,384000]";
}

void GStreamerAudioSource::configure(GstElement* source)
{
    GStreamerSource::configure(source);
    mElement = source;
    GObjectClass* const type = G_OBJECT_GET_CLASS(source);
    if (GST_IS_AUDIO_BASE_SRC(source)) {
        // Short runs, and a ring long enough to survive a busy moment; in microseconds. Each run is stamped by the
        // pipeline's clock: any other way counts on by samples, or leaves sound out when the clocks part.
        g_object_set(source, "buffer-time", gint64 { 200'000 }, "latency-time", gint64 { 20'000 }, "slave-method",
            GST_AUDIO_BASE_SRC_SLAVE_RE_TIMESTAMP, nullptr);
        if (g_object_class_find_property(type, "use-driver-timestamps"))
            g_object_set(source, "use-driver-timestamps", FALSE, nullptr);
        return;
    }
    mStampsArrival = true;
    if (g_object_class_find_property(type, "stream-properties")) {
        const GstStructureOwner properties(
            gst_structure_new("props", "node.latency", G_TYPE_STRING, "960/48000", nullptr));
        g_object_set(source, "stream-properties", properties.get(), nullptr);
    }
}

std::int64_t GStreamerAudioSource::timeTaken(GstSample* sample, std::int64_t duration) const
{
    const std::int64_t time = hostTimeOf(sample);
    if (!mStampsArrival) {
        // These elements take only the run itself off; what else is on its way from the device comes on top.
        auto* const ring = GST_AUDIO_BASE_SRC(mElement)->ringbuffer;
        const std::int64_t delay = ring ? gst_audio_ring_buffer_delay(ring) : 0;
        return time - delay * nanosecondsInSecond / mRate;
    }
    // A live source's latency is what passes from the moment at which a run begins until it is there.
    std::int64_t latency = 0;
    if (GstQuery* const query = gst_query_new_latency()) {
        GstClockTime least = 0;
        if (gst_element_query(mElement, query))
            gst_query_parse_latency(query, nullptr, &least, nullptr);
        gst_query_unref(query);
        if (GST_CLOCK_TIME_IS_VALID(least))
            latency = static_cast<std::int64_t>(std::min<GstClockTime>(least, nanosecondsInSecond));
    }
    return time - std::max(latency, duration);
}

void GStreamerAudioSource::sampleCame(GstSample* sample)
{
    const int rate = rateOf(sample);
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    GstMapInfo map;
    if (rate <= 0 || !buffer || !gst_buffer_map(buffer, &map, GST_MAP_READ))
        return;
    if (std::exchange(mRate, rate) != rate) {
        mResampler.reset();
        if (rate != SoundResampler::outputRate)
            mResampler.emplace(rate);
    }
    const std::size_t frames = map.size / bytesPerFrame;
    std::int64_t time = timeTaken(sample, static_cast<std::int64_t>(frames) * nanosecondsInSecond / rate);
    std::vector<std::byte> samples;
    const auto* const bytes = reinterpret_cast<const std::byte*>(map.data);
    if (mResampler) {
        time -= std::llround(mResampler->waiting() * nanosecondsInSecond / rate);
        std::vector<std::int16_t> values(frames * SoundResampler::channels);
        std::memcpy(values.data(), bytes, frames * bytesPerFrame);
        std::vector<std::int16_t> converted;
        mResampler->convert(values, converted);
        const auto result = std::as_bytes(std::span(converted));
        samples.assign(result.begin(), result.end());
    } else {
        samples.assign(bytes, bytes + frames * bytesPerFrame);
    }
    gst_buffer_unmap(buffer, &map);
    sink().soundCame(std::move(samples), time);
}
