#pragma once

#include "Platform/CoreFoundation/CFString.h"

/// Keys of the dictionary that describes how a movie's sound is stored.

/// `kAudioFormatLinearPCM`, a number.
inline CFString* const AVFormatIDKey = CFSTR("AVFormatIDKey");
/// Sound frames a second, a number.
inline CFString* const AVSampleRateKey = CFSTR("AVSampleRateKey");
inline CFString* const AVNumberOfChannelsKey = CFSTR("AVNumberOfChannelsKey");
inline CFString* const AVLinearPCMBitDepthKey = CFSTR("AVLinearPCMBitDepthKey");
inline CFString* const AVLinearPCMIsFloatKey = CFSTR("AVLinearPCMIsFloatKey");
inline CFString* const AVLinearPCMIsBigEndianKey = CFSTR("AVLinearPCMIsBigEndianKey");
inline CFString* const AVLinearPCMIsNonInterleaved = CFSTR("AVLinearPCMIsNonInterleaved");
/// A data object; an empty one leaves the layout to the number of channels.
inline CFString* const AVChannelLayoutKey = CFSTR("AVChannelLayoutKey");
