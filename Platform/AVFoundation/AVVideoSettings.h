#pragma once

#include "Platform/CoreFoundation/CFString.h"

/// Keys and values of the dictionary that describes how a movie's pictures are compressed.

/// The codec, `AVVideoCodecH264`.
inline CFString* const AVVideoCodecKey = CFSTR("AVVideoCodecKey");
inline CFString* const AVVideoCodecH264 = CFSTR("avc1");
/// Size of the movie in pixels, numbers.
inline CFString* const AVVideoWidthKey = CFSTR("AVVideoWidthKey");
inline CFString* const AVVideoHeightKey = CFSTR("AVVideoHeightKey");
/// A dictionary of the two keys below.
inline CFString* const AVVideoCompressionPropertiesKey = CFSTR("AVVideoCompressionPropertiesKey");
/// Bits a second, a number.
inline CFString* const AVVideoAverageBitRateKey = CFSTR("AverageBitRate");
/// Most frames from one key frame to the next, a number.
inline CFString* const AVVideoMaxKeyFrameIntervalKey = CFSTR("MaxKeyFrameInterval");
