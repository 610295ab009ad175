#pragma once

#include <span>

/// One size of the application's icon, as the bytes of a PNG file.
struct TovrinIcon {
    int size; ///< pixels of a side
    std::span<const unsigned char> bytes;
};

/// Every size that there is, the smallest first. They are compiled in, so any thread may ask at any time.
std::span<const TovrinIcon> tovrinIcons();
