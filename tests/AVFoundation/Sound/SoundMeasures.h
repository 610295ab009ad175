#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>
#include <vector>

/// A sine within a stretch of sound, and what is there besides.
struct Tone {
    double frequency; ///< Hz
    double amplitude;
    double restInDecibels; ///< distortion and noise against the tone
};

/// Finds the sine near \p frequency by least squares: amplitude and phase directly, the frequency by Newton's steps.
inline Tone measureTone(std::span<const std::int16_t> samples, double frequency, double rate = 48000)
{
    double omega = 2 * std::numbers::pi * frequency / rate;
    double a = 0;
    double b = 0;
    double rest = 0;
    const double middle = static_cast<double>(samples.size()) / 2;
    for (int step = 0; step < 5; ++step) {
        // Unknown: cosine, sine, and the change of omega, as x = M^-1 y.
        double m[3][4] {};
        for (std::size_t index = 0; index < samples.size(); ++index) {
            const double t = static_cast<double>(index) - middle;
            const double c = std::cos(omega * t);
            const double s = std::sin(omega * t);
            const double row[3] { c, s, step == 0 ? 0 : t * (b * c - a * s) };
            for (int i = 0; i < 3; ++i) {
                for (int j = 0; j < 3; ++j)
                    m[i][j] += row[i] * row[j];
                m[i][3] += row[i] * samples[index];
            }
        }
        if (step == 0)
            m[2][2] = 1;
        for (int i = 0; i < 3; ++i)
            for (int k = 0; k < 3; ++k) {
                if (k == i)
                    continue;
                const double factor = m[k][i] / m[i][i];
                for (int j = 0; j < 4; ++j)
                    m[k][j] -= factor * m[i][j];
            }
        a = m[0][3] / m[0][0];
        b = m[1][3] / m[1][1];
        const double change = m[2][3] / m[2][2];
        rest = 0;
        for (std::size_t index = 0; index < samples.size(); ++index) {
            const double t = static_cast<double>(index) - middle;
            const double tone = a * std::cos(omega * t) + b * std::sin(omega * t)
                + change * t * (b * std::cos(omega * t) - a * std::sin(omega * t));
            rest += (samples[index] - tone) * (samples[index] - tone);
        }
        omega += change;
    }
    const double amplitude = std::hypot(a, b);
    rest /= static_cast<double>(samples.size());
    return { omega * rate / (2 * std::numbers::pi), amplitude, 10 * std::log10(rest / (amplitude * amplitude / 2)) };
}

/// The middles of the loud places in sound that is otherwise quiet, as frames.
inline std::vector<double> findClicks(std::span<const std::int16_t> samples, int threshold = 12000)
{
    constexpr std::size_t longest = 480;
    std::vector<double> clicks;
    for (std::size_t index = 0; index < samples.size(); ++index) {
        if (std::abs(samples[index]) < threshold)
            continue;
        std::size_t last = index;
        for (std::size_t at = index; at < std::min(index + longest, samples.size()); ++at)
            if (std::abs(samples[at]) >= threshold)
                last = at;
        clicks.push_back(static_cast<double>(index + last) / 2);
        index = last + longest;
    }
    return clicks;
}
