#pragma once

#include "Platform/AVFoundation/GStreamerTypes.h"
#include "Platform/CoreMedia/CMFormatDescription.h"

#include <vector>

/// One form in which a camera can deliver pictures, every choice made.
struct GStreamerVideoFormat {
    std::string mediaType; ///< "video/x-raw", "image/jpeg" or another compressed one
    std::string pixelFormat; ///< of raw pictures; may be empty
    CMVideoDimensions dimensions;
    int rateNumerator = 0; ///< 0 where the camera tells none
    int rateDenominator = 1;

    double rate() const { return static_cast<double>(rateNumerator) / rateDenominator; }
    GstCapsOwner caps() const;
};

/// The forms in which a camera delivers pictures, the most suitable first.
///
/// Suitable is what runs at 24 frames a second or more, then what is at least as large as \p preferred and as little
/// larger as can be, then what comes nearest to 30 frames a second, then what costs least to decode. Ranges are
/// brought down to the value nearest to what is preferred.
std::vector<GStreamerVideoFormat> GStreamerVideoFormatsOf(const GstCaps* caps, CMVideoDimensions preferred);
