#pragma once

#include <cstdint>
#include <vector>

/// The pictures that every program under measurement sees: shapes that move over a gradient, with a camera's noise, and
/// a number to know each by (TestPictureCounter). I420, limited range.
class TestPictures {
public:
    static constexpr int width = 1280;
    static constexpr int height = 720;
    static constexpr int rate = 30;

    TestPictures();
    /// The picture of frame \p number; valid until the next call.
    const std::vector<std::uint8_t>& picture(std::uint32_t number);

private:
    /// Drawn once; frames repeat them in turn and differ by their number.
    std::vector<std::vector<std::uint8_t>> mPictures;
};
