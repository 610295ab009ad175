#include "Platform/AVFoundation/AVAssetWriterNALUnits.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace {

std::vector<std::byte> bytes(std::initializer_list<int> values)
{
    std::vector<std::byte> result;
    for (const int value : values)
        result.push_back(static_cast<std::byte>(value));
    return result;
}

TEST(AVAssetWriterNALUnits, StartCodesOfBothLengthsSeparateUnits)
{
    const auto stream = bytes({ 0, 0, 0, 1, 0x67, 1, 0, 0, 1, 0x68, 2, 0, 0, 0, 1, 0x65, 3, 4 });
    const auto units = AVAssetWriterNALUnits::split(stream);
    ASSERT_EQ(units.size(), 3U);
    EXPECT_EQ(units[0].size(), 2U);
    EXPECT_EQ(units[1].size(), 2U);
    EXPECT_EQ(units[2].size(), 3U);
    EXPECT_TRUE(AVAssetWriterNALUnits::split({}).empty());
    EXPECT_TRUE(AVAssetWriterNALUnits::split(bytes({ 0, 0, 1 })).empty());
    EXPECT_TRUE(AVAssetWriterNALUnits::split(bytes({ 1, 2, 3 })).empty());
}

TEST(AVAssetWriterNALUnits, ASampleHasLengthsAndNoParameterSets)
{
    const auto stream
        = bytes({ 0, 0, 0, 1, 0x09, 0xF0, 0, 0, 0, 1, 0x67, 1, 2, 3, 0, 0, 1, 0x68, 2, 0, 0, 1, 0x65, 3, 4 });
    auto sample = bytes({ 7 });
    AVAssetWriterNALUnits::appendSample(stream, sample);
    EXPECT_EQ(sample, bytes({ 7, 0, 0, 0, 3, 0x65, 3, 4 }));
    EXPECT_EQ(AVAssetWriterNALUnits::parameterSets(stream), bytes({ 0, 0, 0, 1, 0x67, 1, 2, 3, 0, 0, 0, 1, 0x68, 2 }));
}

TEST(AVAssetWriterNALUnits, OneConfigurationServesSeveralEncoders)
{
    const auto sets
        = bytes({ 0, 0, 1, 0x67, 66, 192, 41, 9, 0, 0, 1, 0x68, 2, 0, 0, 1, 0x67, 100, 0, 32, 8, 0, 0, 1, 0x68, 3 });
    // The highest profile and level, and only those promises that all keep.
    EXPECT_EQ(AVAssetWriterNALUnits::decoderConfiguration(sets),
        bytes({ 1, 100, 0, 41, 0xFF, 0xE2, 0, 5, 0x67, 66, 192, 41, 9, 0, 5, 0x67, 100, 0, 32, 8, 2, 0, 2, 0x68, 2, 0,
            2, 0x68, 3, 0xFD, 0xF8, 0xF8, 0 }));
}

TEST(AVAssetWriterNALUnits, TheConfigurationHoldsTheParameterSets)
{
    const auto stream = bytes({ 0, 0, 0, 1, 0x67, 66, 192, 30, 9, 0, 0, 1, 0x68, 2 });
    EXPECT_EQ(AVAssetWriterNALUnits::decoderConfiguration(stream),
        bytes({ 1, 66, 192, 30, 0xFF, 0xE1, 0, 5, 0x67, 66, 192, 30, 9, 1, 0, 2, 0x68, 2 }));
    const auto high = bytes({ 0, 0, 1, 0x67, 100, 0, 30, 0, 0, 1, 0x68, 2 });
    const auto configuration = AVAssetWriterNALUnits::decoderConfiguration(high);
    EXPECT_EQ(std::vector(configuration.end() - 4, configuration.end()), bytes({ 0xFD, 0xF8, 0xF8, 0 }));
    EXPECT_TRUE(AVAssetWriterNALUnits::decoderConfiguration(bytes({ 0, 0, 1, 0x67, 66, 0, 30 })).empty());
}

}
