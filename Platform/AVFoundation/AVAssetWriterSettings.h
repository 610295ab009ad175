#pragma once

#include "Platform/AVFoundation/AVAssetWriterPictureEncoder.h"
#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/CoreMedia/CMFormatDescription.h"

/// Reads the dictionaries that describe how a movie's media are stored.
namespace AVAssetWriterSettings {

/// Whether settings (null: samples as they come) describe what can be written for a medium: H.264 of 16 to 8192 pixels
/// each way; interleaved linear PCM with 1 to 8 channels of 16 bits, little-endian.
bool canApply(CFDictionary* settings, CFString* mediaType);

/// \param settings  accepted ones; bit rate and key frame interval that are not given are 11.4 bits a pixel a second
/// and 30
AVAssetWriterPictureEncoder::Settings picture(CFDictionary* settings);
AudioStreamBasicDescription sound(CFDictionary* settings);

}
