#pragma once

#include "Platform/CoreImage/CIImage.h"

/// Rendering of images with the processor.
namespace CIContext {

/// A picture of the image's extent, BGRA, rows from the top: the image's own buffer where there is nothing to do, else
/// a new one. Any thread. \return null for an empty image and when no buffer can be had
Ref<CVPixelBuffer> createPixelBuffer(const CIImage& image);

}
