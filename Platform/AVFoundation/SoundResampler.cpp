#include "Platform/AVFoundation/SoundResampler.h"

#include <algorithm>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace {

/// Taps of the filter. 64 fall off from 22 kHz on, the library's 32 from 19.5 kHz.
constexpr int taps = 64;

}

void SoundResampler::Free::operator()(SwrContext* context) const
{
    swr_free(&context);
}

SoundResampler::SoundResampler(int inputRate)
    : mInputRate(inputRate)
{
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    SwrContext* made = nullptr;
    if (swr_alloc_set_opts2(
            &made, &stereo, AV_SAMPLE_FMT_S16, outputRate, &stereo, AV_SAMPLE_FMT_S16, inputRate, 0, nullptr)
        < 0)
        return;
    std::unique_ptr<SwrContext, Free> context(made);
    // The resampler is to stand ready also where both rates are one.
    av_opt_set_int(made, "flags", SWR_FLAG_RESAMPLE, 0);
    av_opt_set_sample_fmt(made, "internal_sample_fmt", AV_SAMPLE_FMT_FLTP, 0);
    av_opt_set_int(made, "filter_size", taps, 0);
    av_opt_set_int(made, "linear_interp", 1, 0);
    av_opt_set_double(made, "cutoff", 1, 0);
    if (swr_init(made) == 0)
        mContext = std::move(context);
}

SoundResampler::~SoundResampler() = default;

void SoundResampler::convert(std::span<const std::int16_t> samples, std::vector<std::int16_t>& output)
{
    if (!mContext) {
        output.insert(output.end(), samples.begin(), samples.end());
        return;
    }
    if (mInputRate == outputRate)
        // The library takes the stretch back after the distance that it is told; this one is never reached.
        swr_set_compensation(mContext.get(), mStretch, unity);
    const auto frames = static_cast<int>(samples.size() / channels);
    const std::size_t before = output.size();
    const int room = std::max(0, swr_get_out_samples(mContext.get(), frames));
    output.resize(before + static_cast<std::size_t>(room) * channels);
    const auto* in = reinterpret_cast<const std::uint8_t*>(samples.data());
    auto* out = reinterpret_cast<std::uint8_t*>(output.data() + before);
    const int made = std::max(0, swr_convert(mContext.get(), &out, room, &in, frames));
    output.resize(before + static_cast<std::size_t>(made) * channels);
}

double SoundResampler::waiting() const
{
    if (!mContext)
        return 0;
    return static_cast<double>(swr_get_delay(mContext.get(), std::int64_t { mInputRate } * unity)) / unity;
}
