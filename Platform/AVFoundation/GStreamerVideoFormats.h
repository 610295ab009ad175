#pragma once

#include "Platform/AVFoundation/GStreamerTypes.h"
#include "Platform/CoreMedia/CMFormatDescription.h"

#include <vector>

/// One form in which a camera can deliver pictures, every choice made.
struct GStreamerVideoFormat {
    std::string mediaType; ///< "video/x-raw", "image/jpeg" or "video/x-h264"
    std::string pixelFormat; ///< of raw pictures; may be empty
    CMVideoDimensions dimensions;
    /// Frames a second that cameras are asked for.
    static constexpr int wantedRate = 30;
    int rateNumerator = 0; ///< 0 where the camera tells none
    int rateDenominator = 1;

    /// Brightness without colours: what infrared cameras deliver.
    bool isGrey() const { return pixelFormat.starts_with("GRAY"); }
    double rate() const { return static_cast<double>(rateNumerator) / rateDenominator; }
    GstCapsOwner caps() const;
};

/// The forms in which a camera delivers pictures that can be read, the most suitable first.
///
/// Suitable is what has colours, then what runs at 24 frames a second or more, then what is at least as large as
/// \p preferred and as little larger as can be, then what comes nearest to the wanted rate, then what costs least to
/// read. Of a form that is smaller, that part counts which has the proportions of \p preferred. Ranges are brought
/// down to the value nearest to what is preferred.
std::vector<GStreamerVideoFormat> GStreamerVideoFormatsOf(const GstCaps* caps, CMVideoDimensions preferred);
