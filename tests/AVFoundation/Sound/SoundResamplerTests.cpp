#include "Platform/AVFoundation/SoundResampler.h"
#include "tests/AVFoundation/Sound/SoundMeasures.h"

#include <gtest/gtest.h>
#include <random>

namespace {

std::vector<std::int16_t> sine(double frequency, double rate, std::size_t frames)
{
    std::vector<std::int16_t> samples(2 * frames);
    for (std::size_t frame = 0; frame < frames; ++frame)
        samples[2 * frame] = samples[2 * frame + 1] = static_cast<std::int16_t>(
            std::lround(20000 * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(frame) / rate)));
    return samples;
}

/// 40,000 samples of the left channel.
std::vector<std::int16_t> left(const std::vector<std::int16_t>& samples, std::size_t first)
{
    std::vector<std::int16_t> result;
    for (std::size_t index = 2 * first; index < 2 * (first + 40000); index += 2)
        result.push_back(samples[index]);
    return result;
}

}

TEST(SoundResampler, UnstretchedSoundComesOutBitByBit)
{
    std::mt19937 random { 7 };
    std::vector<std::int16_t> samples(2 * 48000);
    for (auto& sample : samples)
        sample = static_cast<std::int16_t>(random());
    SoundResampler resampler(48000);
    std::vector<std::int16_t> output;
    for (std::size_t at = 0; at < samples.size(); at += 1920)
        resampler.convert(std::span(samples).subspan(at, 1920), output);
    ASSERT_EQ(output.size(), samples.size() - 64);
    EXPECT_EQ(resampler.waiting(), 32);
    for (std::size_t index = 0; index < output.size(); ++index)
        ASSERT_EQ(output[index], samples[index]);
}

TEST(SoundResampler, StretchedTonesStayPureAndHaveTheirPitch)
{
    for (const int steps : { 210, -210, 1048 })
        for (const double frequency : { 100.0, 997.0, 10000.0, 18000.0 }) {
            SoundResampler resampler(48000);
            resampler.setStretch(steps);
            const auto samples = sine(frequency, 48000, 48000);
            std::vector<std::int16_t> output;
            resampler.convert(samples, output);
            const double expected = frequency * (1 - steps / 1048576.0);
            const auto found = measureTone(left(output, 1000), expected);
            EXPECT_NEAR(found.frequency, expected, 0.0005) << steps;
            EXPECT_NEAR(found.amplitude, 20000, 5) << frequency;
            EXPECT_LT(found.restInDecibels, -88) << frequency << " " << steps;
        }
}

TEST(SoundResampler, WhatComesOutAndWhatWaitsIsWhatWentIn)
{
    for (const std::size_t frames : { 1, 3, 31, 480 }) {
        SoundResampler resampler(48000);
        std::vector<std::int16_t> output;
        double done = 0;
        std::size_t before = 0;
        for (int turn = 1; turn < 2000; ++turn) {
            const int steps = turn / 3 - 300;
            resampler.setStretch(steps);
            resampler.convert(std::vector<std::int16_t>(2 * frames), output);
            done += static_cast<double>(output.size() - before) / 2 * (1 - steps / 1048576.0);
            before = output.size();
            ASSERT_NEAR(done + resampler.waiting(), static_cast<double>(turn) * static_cast<double>(frames), 1e-3);
        }
    }
}

TEST(SoundResampler, DevicesOfOtherRatesAreBroughtToOurs)
{
    for (const int rate : { 8000, 16000, 44100, 96000 }) {
        SoundResampler resampler(rate);
        std::vector<std::int16_t> output;
        const auto samples = sine(997, rate, static_cast<std::size_t>(rate));
        resampler.convert(samples, output);
        const double waiting = resampler.waiting() * 48000 / rate;
        EXPECT_NEAR(static_cast<double>(output.size()) / 2 + waiting, 48000, 1.5) << rate;
        const auto found = measureTone(left(output, 2000), 997);
        EXPECT_NEAR(found.frequency, 997, 0.001) << rate;
        EXPECT_LT(found.restInDecibels, -85) << rate;
    }
}
