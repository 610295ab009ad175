#include "CoreLattice/LTCSoundSource.h"
#include "CoreLattice/SoundPicture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

using namespace CoreLattice;

namespace {

std::vector<float> tone(double hertz, double amplitude)
{
    std::vector<float> samples(soundSamples);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i]
            = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / 48000));
    return samples;
}

}

TEST(SoundPicture, AWaveIsTheNewestSamplesAroundAHalf)
{
    const std::vector<float> samples { 1, -1, 0.5F, 2 };
    EXPECT_EQ(soundWave(samples, 3), (std::vector<float> { 0, 0.75F, 1 }));
    EXPECT_EQ(soundWave(samples, 6), (std::vector<float> { 0.5F, 0.5F, 1, 0, 0.75F, 1 }));
    EXPECT_EQ(soundWave({}, 0), std::vector<float>(1024, 0.5F));
}

TEST(SoundPicture, ATonesColumnIsAsHighAsItIsLoud)
{
    // 6 kHz is a quarter of the way; -60 dB of full scale is 40 of the 70 dB shown.
    const auto row = soundSpectrum(tone(6000, 0.001), 0);
    ASSERT_EQ(row.size(), 1024U);
    const auto loudest = std::ranges::max_element(row);
    EXPECT_EQ(loudest - row.begin(), 256);
    EXPECT_NEAR(*loudest, 40.0 / 70.0, 0.002);
    EXPECT_EQ(row[100], 0);
    EXPECT_EQ(soundSpectrum(tone(6000, 1), 16)[4], 1) << "louder than what is shown";
    EXPECT_EQ(soundSpectrum(tone(6000, 1), 5000).size(), 1024U);
}

TEST(SoundPicture, SilenceIsNothing)
{
    EXPECT_EQ(soundSpectrum({}, 8), std::vector<float>(8, 0.0F));
    EXPECT_EQ(soundSpectrum(std::vector<float>(100, 0.0F), 8), std::vector<float>(8, 0.0F));
}

TEST(LTCSoundSource, GivesWhatTheProviderHas)
{
    EXPECT_TRUE(LTCSoundSource::latestSamples(4).empty());
    LTCSoundSource::setProvider([](std::size_t) { return std::vector<float> { 1, 2, 3 }; });
    EXPECT_EQ(LTCSoundSource::latestSamples(2), (std::vector<float> { 2, 3 }));
    EXPECT_EQ(LTCSoundSource::latestSamples(9).size(), 3U);
    LTCSoundSource::setProvider({});
    EXPECT_TRUE(LTCSoundSource::latestSamples(2).empty());
}
