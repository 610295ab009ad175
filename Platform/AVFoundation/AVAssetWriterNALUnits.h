#pragma once

#include <cstddef>
#include <span>
#include <vector>

/// The two forms in which H.264 is stored. An encoder gives NAL units behind start codes (ITU-T H.264, annex B); a
/// movie wants them behind their length, and the parameter sets apart (ISO/IEC 14496-15).
namespace AVAssetWriterNALUnits {

/// The units of a stream with start codes of three or four bytes, without the zeros behind them.
std::vector<std::span<const std::byte>> split(std::span<const std::byte> stream);

/// Puts the units that belong into a sample, each behind four bytes of length, to the end of \p sample: all but
/// parameter sets and delimiters.
void appendSample(std::span<const std::byte> stream, std::vector<std::byte>& sample);

/// The parameter sets of the stream, behind start codes again.
std::vector<std::byte> parameterSets(std::span<const std::byte> stream);

/// The decoder configuration made of the stream's parameter sets, those of several encoders if they are numbered apart;
/// empty when one kind is missing.
std::vector<std::byte> decoderConfiguration(std::span<const std::byte> stream);

}
