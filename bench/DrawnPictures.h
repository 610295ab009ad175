#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <vector>

/// The first second of TestPictures as capture delivers them: BGRA, in the order of their numbers.
std::vector<Ref<CVPixelBuffer>> drawnPictures();
