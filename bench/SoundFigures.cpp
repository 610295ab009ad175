#include "Figures.h"
#include "ProcessorTime.h"

#include "Platform/AVFoundation/AVCaptureAudioDataOutput.h"
#include "Platform/AVFoundation/SoundTimeline.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

namespace {

constexpr FigureName soundCalm { "sound-calm", "us/s",
    "sound on the host clock: processor time for a second of a microphone that needs no correction" };
constexpr FigureName soundStretched { "sound-stretched", "us/s",
    "sound on the host clock: the same of one that is off by 200 millionths and trembles" };
constexpr FigureName soundResampled { "sound-resampled", "us/s",
    "the same sound through the bare resampler, stretched" };
constexpr FigureName soundOffered { "sound-offered", "us/s",
    "a second's sound measured for its level and kept for filters, and its newest part looked at 30 times" };
constexpr FigureName soundRatio { "sound-ratio", "times", "sound-stretched / sound-resampled" };

constexpr int runsInRound = 1500; // half a minute
constexpr std::int64_t runDuration = 20'000'000;

std::vector<std::int16_t> makeTone()
{
    std::vector<std::int16_t> samples(std::size_t { 960 } * 2);
    for (std::size_t frame = 0; frame < 960; ++frame)
        samples[2 * frame] = samples[2 * frame + 1] = static_cast<std::int16_t>(
            std::lround(20000 * std::sin(2 * std::numbers::pi * 1000 * static_cast<double>(frame) / 48000)));
    return samples;
}

/// Processor time for a second of sound, in microseconds.
double costOf(const std::function<void(int run)>& work)
{
    const double start = processorMilliseconds();
    for (int run = 0; run < runsInRound; ++run)
        work(run);
    return (processorMilliseconds() - start) * 1e3 / (runsInRound * runDuration / 1e9);
}

/// \param slowness  of the microphone, in millionths
double costOfTimeline(double slowness, std::int64_t tremble)
{
    const auto tone = makeTone();
    SoundTimeline timeline([](std::span<const std::int16_t>, std::int64_t) {});
    constexpr std::int64_t begin = 1'000'000'000;
    timeline.begin(begin);
    std::int64_t now = begin;
    const auto push = [&](int run) {
        const auto taken = begin + std::llround(run * static_cast<double>(runDuration) * (1 + slowness * 1e-6));
        const std::int64_t late = tremble == 0 ? 0 : std::int64_t { run } * 7'919'003 % tremble;
        now = std::max<std::int64_t>(now, taken + runDuration + late);
        timeline.push(tone, now - runDuration, now);
    };
    // Half a minute to learn the rate.
    costOf(push);
    return costOf([&](int run) { push(run + runsInRound); });
}

double costOfResampler()
{
    const auto tone = makeTone();
    SoundResampler resampler(SoundResampler::outputRate);
    resampler.setStretch(210);
    std::vector<std::int16_t> output;
    return costOf([&](int) {
        output.clear();
        resampler.convert(tone, output);
    });
}

/// What the sound's connection takes, with a filter that looks at it for each of its pictures.
double costOfConnection()
{
    const auto tone = makeTone();
    const auto connection = make<AVCaptureConnection>(AVMediaTypeAudio, nullptr, nullptr);
    std::size_t seen = 0;
    const double cost = costOf([&](int run) {
        connection->measure(tone);
        if (run % 5 < 3)
            seen += connection->latestSamples(2048).size();
    });
    return seen > 0 ? cost : 0;
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

}

const std::vector<FigureName>& soundFigures()
{
    static const std::vector<FigureName> figures { soundCalm, soundStretched, soundResampled, soundOffered,
        soundRatio };
    return figures;
}

void measureSound(const BenchRequest& request)
{
    constexpr int fewestRounds = 5;
    std::vector<double> calm;
    std::vector<double> stretched;
    std::vector<double> resampled;
    std::vector<double> offered;
    std::vector<double> ratios;
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(request.seconds);
    while (static_cast<int>(ratios.size()) < fewestRounds || std::chrono::steady_clock::now() < end) {
        calm.push_back(costOfTimeline(0, 0));
        stretched.push_back(costOfTimeline(200, 8'000'000));
        resampled.push_back(costOfResampler());
        offered.push_back(costOfConnection());
        ratios.push_back(stretched.back() / resampled.back());
    }
    printFigure(request, soundCalm, median(calm));
    printFigure(request, soundStretched, median(stretched));
    printFigure(request, soundResampled, median(resampled));
    printFigure(request, soundOffered, median(offered));
    printFigure(request, soundRatio, median(ratios));
}
