#include "CoreLattice/SoundPicture.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace CoreLattice {

namespace {

constexpr std::size_t pitches = soundSamples / 2;
constexpr std::size_t usualColumns = 1024;
constexpr float quietest = -100; // dB
constexpr float loudest = -30;

std::span<const float> newest(std::span<const float> samples, std::size_t count)
{
    return samples.size() > count ? samples.last(count) : samples;
}

/// In place, for a number of values that is a power of 2.
void transform(std::vector<std::complex<float>>& values)
{
    const auto count = values.size();
    for (std::size_t i = 1, reversed = 0; i < count; ++i) {
        auto bit = count >> 1;
        for (; reversed & bit; bit >>= 1)
            reversed ^= bit;
        reversed ^= bit;
        if (i < reversed)
            std::swap(values[i], values[reversed]);
    }
    for (std::size_t length = 2; length <= count; length *= 2) {
        const auto step = std::polar(1.0, -2 * std::numbers::pi / static_cast<double>(length));
        for (std::size_t start = 0; start < count; start += length) {
            std::complex<double> turn = 1;
            for (std::size_t k = 0; k < length / 2; ++k, turn *= step) {
                const auto a = values[start + k];
                const auto b = values[start + k + length / 2] * std::complex<float>(turn);
                values[start + k] = a + b;
                values[start + k + length / 2] = a - b;
            }
        }
    }
}

}

std::vector<float> soundWave(std::span<const float> samples, std::size_t columns)
{
    columns = columns == 0 ? usualColumns : columns;
    const auto shown = newest(samples, columns);
    std::vector<float> row(columns - shown.size(), 0.5F);
    for (const float sample : shown)
        row.push_back(std::clamp(0.5F + sample * 0.5F, 0.0F, 1.0F));
    return row;
}

std::vector<float> soundSpectrum(std::span<const float> samples, std::size_t columns)
{
    columns = columns == 0 ? pitches : std::min(columns, pitches);
    std::vector<float> row(columns, 0.0F);
    if (samples.empty())
        return row;
    const auto shown = newest(samples, soundSamples);
    std::vector<std::complex<float>> values(soundSamples);
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const auto at = soundSamples - shown.size() + i;
        const auto angle = 2 * std::numbers::pi * static_cast<double>(at) / static_cast<double>(soundSamples);
        values[at] = shown[i] * static_cast<float>(0.5 - 0.5 * std::cos(angle));
    }
    transform(values);
    // Under this window a tone of full scale has a quarter of the number of samples.
    constexpr float fullScale = soundSamples / 4.0F;
    for (std::size_t pitch = 0; pitch < pitches; ++pitch) {
        const float level = 20 * std::log10(std::max(std::abs(values[pitch]) / fullScale, 1e-9F));
        auto& column = row[pitch * columns / pitches];
        column = std::max(column, std::clamp((level - quietest) / (loudest - quietest), 0.0F, 1.0F));
    }
    return row;
}

}
