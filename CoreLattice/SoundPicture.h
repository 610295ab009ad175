#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace CoreLattice {

/// Samples that a sound's picture looks at, most.
inline constexpr std::size_t soundSamples = 2048;

/// The row of a picture of the samples: 0.5 is silence, 0 and 1 are full scale, the oldest sample at the left. The
/// newest \p columns samples, silence before them when there are fewer; 1024 when \p columns is 0.
std::vector<float> soundWave(std::span<const float> samples, std::size_t columns);

/// The row of a picture of how loud each pitch is, low ones at the left, from 0 at -100 dB of full scale to 1 at -30
/// dB.
///
/// Each column is the loudest of its share of the 1024 pitches from 0 to 24 kHz that the newest 2048 samples tell apart
/// (a Fourier transform under a Hann window); 1024 columns when \p columns is 0 or more than that.
std::vector<float> soundSpectrum(std::span<const float> samples, std::size_t columns);

}
