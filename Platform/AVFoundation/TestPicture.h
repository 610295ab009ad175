#pragma once

#include "Platform/CoreMedia/CMFormatDescription.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// Draws the picture of the camera that stands in when the machine has none: colour bars, three balls on their ways,
/// the time of day, the number of the frame in digits and as the row of blocks of TestPictureCounter.h.
///
/// Drawing is incremental: into memory that still holds an earlier frame only what has moved is drawn anew.
class TestPicture {
public:
    /// What one piece of memory shows. A new one stands for memory with anything in it.
    struct Shown {
        bool hasBackground = false;
        std::uint32_t number = 0;
        std::array<std::string, 2> texts;
    };

    /// \param dimensions  at least 64 by 36
    explicit TestPicture(CMVideoDimensions dimensions);

    /// Draws frame \p number.
    /// \param pixels  BGRA, rows from the top
    /// \param time  seconds since the beginning of the day
    /// \param shown  what \p pixels hold; afterwards, this frame
    void draw(std::span<std::byte> pixels, std::size_t bytesPerRow, std::uint32_t number, int time, Shown& shown) const;

private:
    struct Canvas {
        std::byte* pixels;
        std::size_t bytesPerRow;
    };
    struct Rectangle {
        int x, y, width, height;
    };
    /// A round, lit ball: colour and coverage of each pixel of its square.
    struct Ball {
        std::vector<std::uint32_t> colours;
        std::vector<std::uint8_t> coverage;
        std::vector<std::pair<std::size_t, std::size_t>> full; ///< of each row, the pixels that are covered altogether
    };

    void paintBackground();
    void paintBall(Ball& ball, float red, float green, float blue) const;
    void fill(Canvas canvas, Rectangle area, std::uint32_t colour) const;
    void restore(Canvas canvas, Rectangle area) const;
    Rectangle ballArea(int index, std::uint32_t number) const;
    void drawBall(Canvas canvas, const Ball& ball, Rectangle area) const;
    void drawText(Canvas canvas, int line, const std::string& text, std::string& shown) const;
    void drawCounter(Canvas canvas, std::uint32_t number) const;
    Rectangle characterArea(int line, int position) const;

    const int mWidth;
    const int mHeight;
    const int mDiameter;
    const int mDot; ///< width of one dot of the digits, pixels
    std::vector<std::uint32_t> mBackground;
    std::array<Ball, 3> mBalls;
};
