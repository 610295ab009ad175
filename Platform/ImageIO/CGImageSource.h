#pragma once

#include "Platform/CoreGraphics/CGImage.h"

#include <span>

/// The picture of a PNG file's bytes: BGRA, premultiplied. Any thread may use it.
/// \return null when the bytes are no PNG or are damaged (the decoder's reason is logged), for pictures above 16384
/// pixels in a direction, and at the fail point "CGImageCreateWithPNGData"
Ref<CGImage> CGImageCreateWithPNGData(std::span<const std::byte> data);
