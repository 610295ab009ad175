#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// A picture of many colours in any of the forms in which cameras deliver raw pixels, and what it looks like by the
/// standards' own equations.
///
/// Every block of two by two pixels has one pair of colour differences, so that every way of storing those keeps them.
class ReferencePicture {
public:
    enum class Matrix { BT601, BT709, BT2020 };
    struct Colours {
        Matrix matrix = Matrix::BT601;
        bool isFullRange = false;
    };

    /// \param format  one of `formats`
    ReferencePicture(std::string format, int width, int height, Colours colours);
    /// The formats that this class can store, as GStreamer names them.
    static const std::vector<std::string>& formats();
    bool isRGB() const;
    bool isGrey() const { return mFormat.starts_with("GRAY"); }

    /// The pixels in GStreamer's usual arrangement of planes and rows.
    const std::vector<std::uint8_t>& bytes() const { return mBytes; }
    /// `video/x-raw` with format, size and rate, and nothing of colours.
    std::string caps() const;
    /// Blue, green and red as they ought to be, of 255.
    std::array<double, 3> expected(int x, int y) const;
    /// The largest difference between a picture of the same size and what it ought to be, of any component of any
    /// pixel.
    double worstDifference(const CVPixelBuffer& picture) const;

private:
    /// Brightness and its differences from blue and red, or red, green and blue.
    std::array<std::uint8_t, 3> components(int x, int y) const;
    void store(int x, int y);
    void storeRGB(int x, int y);
    void storeDeep(int x, int y);
    std::uint8_t& byte(std::size_t plane, int row, int index);
    void word(std::size_t plane, int row, int index, int value);

    const std::string mFormat;
    const int mWidth;
    const int mHeight;
    const Colours mColours;
    std::array<std::size_t, 4> mOffsets {};
    std::array<int, 4> mStrides {};
    std::vector<std::uint8_t> mBytes;
};
