#include "tests/AVFoundation/ReferencePicture.h"

#include <algorithm>
#include <cmath>
#include <gst/video/video.h>
#include <stdexcept>

namespace {

/// Numbers that look random and are always the same.
unsigned hashed(unsigned x, unsigned y, unsigned salt)
{
    unsigned value = x * 0x9E3779B1U ^ y * 0x85EBCA77U ^ salt * 0xC2B2AE3DU;
    value = (value ^ value >> 15) * 0x2C1B3C6DU;
    value = (value ^ value >> 12) * 0x297A2D39U;
    return value ^ value >> 15;
}

}

const std::vector<std::string>& ReferencePicture::formats()
{
    static const std::vector<std::string> all { "I420", "YV12", "Y42B", "Y444", "NV12", "NV21", "YUY2", "YVYU", "UYVY",
        "GRAY8", "BGRA", "BGRx", "RGBA", "RGBx", "BGR", "RGB", // known to the converter
        "NV16", "NV24", "VYUY", "AYUV", "xRGB", "ARGB", "xBGR", "ABGR", "RGB16", "GRAY16_LE", "P010_10LE", "I420_10LE",
        "I422_10LE" };
    return all;
}

bool ReferencePicture::isRGB() const
{
    return mFormat.find("RGB") != std::string::npos || mFormat.find("BGR") != std::string::npos;
}

ReferencePicture::ReferencePicture(std::string format, int width, int height, Colours colours)
    : mFormat(std::move(format))
    , mWidth(width)
    , mHeight(height)
    , mColours(colours)
{
    GstVideoInfo info;
    if (!gst_video_info_set_format(&info, gst_video_format_from_string(mFormat.c_str()), static_cast<guint>(width),
            static_cast<guint>(height)))
        throw std::runtime_error("unknown format " + mFormat);
    std::copy(std::begin(info.offset), std::end(info.offset), mOffsets.begin());
    std::copy(std::begin(info.stride), std::end(info.stride), mStrides.begin());
    mBytes.resize(info.size);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (isRGB())
                storeRGB(x, y);
            else if (mFormat.find('_') != std::string::npos)
                storeDeep(x, y);
            else
                store(x, y);
        }
    }
}

std::string ReferencePicture::caps() const
{
    return "video/x-raw,format=" + mFormat + ",width=" + std::to_string(mWidth) + ",height=" + std::to_string(mHeight)
        + ",framerate=30/1";
}

std::array<std::uint8_t, 3> ReferencePicture::components(int x, int y) const
{
    const auto across = static_cast<unsigned>(x);
    const auto down = static_cast<unsigned>(y);
    const auto value = [](unsigned from) { return static_cast<std::uint8_t>(from & 255); };
    if (isRGB() && mFormat != "RGB16")
        return { value(hashed(across, down, 1)), value(hashed(across, down, 2)), value(hashed(across, down, 3)) };
    if (isRGB())
        return { value(hashed(across, down, 1) & 0xF8), value(hashed(across, down, 2) & 0xFC),
            value(hashed(across, down, 3) & 0xF8) };
    return { value(hashed(across, down, 1)), value(hashed(across / 2, down / 2, 2)),
        value(hashed(across / 2, down / 2, 3)) };
}

std::uint8_t& ReferencePicture::byte(std::size_t plane, int row, int index)
{
    return mBytes[mOffsets[plane] + static_cast<std::size_t>(row) * static_cast<std::size_t>(mStrides[plane])
        + static_cast<std::size_t>(index)];
}

void ReferencePicture::word(std::size_t plane, int row, int index, int value)
{
    byte(plane, row, index * 2) = static_cast<std::uint8_t>(value & 255);
    byte(plane, row, index * 2 + 1) = static_cast<std::uint8_t>(value >> 8);
}

void ReferencePicture::store(int x, int y)
{
    const auto [brightness, blue, red] = components(x, y);
    const int pair = x / 2;
    if (mFormat == "YUY2" || mFormat == "YVYU") {
        byte(0, y, x * 2) = brightness;
        byte(0, y, pair * 4 + (mFormat == "YUY2" ? 1 : 3)) = blue;
        byte(0, y, pair * 4 + (mFormat == "YUY2" ? 3 : 1)) = red;
        return;
    }
    if (mFormat == "UYVY" || mFormat == "VYUY") {
        byte(0, y, x * 2 + 1) = brightness;
        byte(0, y, pair * 4 + (mFormat == "UYVY" ? 0 : 2)) = blue;
        byte(0, y, pair * 4 + (mFormat == "UYVY" ? 2 : 0)) = red;
        return;
    }
    if (mFormat == "AYUV") {
        byte(0, y, x * 4) = 255;
        byte(0, y, x * 4 + 1) = brightness;
        byte(0, y, x * 4 + 2) = blue;
        byte(0, y, x * 4 + 3) = red;
        return;
    }
    byte(0, y, x) = brightness;
    if (mFormat == "NV12" || mFormat == "NV21" || mFormat == "NV16" || mFormat == "NV24") {
        const int row = mFormat == "NV12" || mFormat == "NV21" ? y / 2 : y;
        const int at = mFormat == "NV24" ? x : pair;
        byte(1, row, at * 2 + (mFormat == "NV21" ? 1 : 0)) = blue;
        byte(1, row, at * 2 + (mFormat == "NV21" ? 0 : 1)) = red;
    } else if (!isGrey()) {
        const int row = mFormat == "I420" || mFormat == "YV12" ? y / 2 : y;
        const int at = mFormat == "Y444" ? x : pair;
        byte(mFormat == "YV12" ? 2 : 1, row, at) = blue;
        byte(mFormat == "YV12" ? 1 : 2, row, at) = red;
    }
}

void ReferencePicture::storeRGB(int x, int y)
{
    const auto [red, green, blue] = components(x, y);
    if (mFormat == "RGB16") {
        word(0, y, x, red >> 3 << 11 | green >> 2 << 5 | blue >> 3);
        return;
    }
    // The letters are the order of the bytes; what is not a colour is to be ignored.
    for (std::size_t index = 0; index < mFormat.size(); ++index) {
        const char letter = mFormat[index];
        const std::uint8_t other = letter == 'R' ? red : letter == 'G' ? green : letter == 'B' ? blue : 255;
        byte(0, y, x * static_cast<int>(mFormat.size()) + static_cast<int>(index)) = letter == 'x' ? 7 : other;
    }
}

void ReferencePicture::storeDeep(int x, int y)
{
    const auto [brightness, blue, red] = components(x, y);
    const int pair = x / 2;
    if (isGrey()) {
        word(0, y, x, brightness * 257);
    } else if (mFormat == "P010_10LE") {
        word(0, y, x, brightness << 8);
        word(1, y / 2, pair * 2, blue << 8);
        word(1, y / 2, pair * 2 + 1, red << 8);
    } else {
        const int row = mFormat == "I420_10LE" ? y / 2 : y;
        word(0, y, x, brightness << 2);
        word(1, row, pair, blue << 2);
        word(2, row, pair, red << 2);
    }
}

std::array<double, 3> ReferencePicture::expected(int x, int y) const
{
    const auto [first, second, third] = components(x, y);
    if (isRGB()) {
        // Few bits stand for the whole range.
        const bool isShort = mFormat == "RGB16";
        const double scale = isShort ? 255.0 / 248 : 1;
        return { third * scale, second * (isShort ? 255.0 / 252 : 1), first * scale };
    }
    if (isGrey()) {
        const double level = mColours.isFullRange ? first : (first - 16) * 255 / 219.0;
        const double shown = std::clamp(level, 0.0, 255.0);
        return { shown, shown, shown };
    }
    double redWeight = 0.299;
    double blueWeight = 0.114;
    if (mColours.matrix == Matrix::BT709) {
        redWeight = 0.2126;
        blueWeight = 0.0722;
    } else if (mColours.matrix == Matrix::BT2020) {
        redWeight = 0.2627;
        blueWeight = 0.0593;
    }
    // Ten bits hold four times the value, of which the full range has three more steps.
    const double whole = mFormat.find("_10LE") != std::string::npos ? 1023 / 4.0 : 255;
    const double brightness = mColours.isFullRange ? first / whole : (first - 16) / 219.0;
    const double differences = mColours.isFullRange ? whole : 224;
    const double red = brightness + 2 * (1 - redWeight) * (third - 128) / differences;
    const double blue = brightness + 2 * (1 - blueWeight) * (second - 128) / differences;
    const double green = (brightness - redWeight * red - blueWeight * blue) / (1 - redWeight - blueWeight);
    const auto shown = [](double value) { return std::clamp(value, 0.0, 1.0) * 255; };
    return { shown(blue), shown(green), shown(red) };
}

double ReferencePicture::worstDifference(const CVPixelBuffer& picture) const
{
    if (picture.width() != static_cast<std::size_t>(mWidth) || picture.height() != static_cast<std::size_t>(mHeight))
        return 1000;
    double worst = 0;
    for (int y = 0; y < mHeight; ++y) {
        for (int x = 0; x < mWidth; ++x) {
            const auto* const pixel = picture.baseAddress() + static_cast<std::size_t>(y) * picture.bytesPerRow()
                + static_cast<std::size_t>(x) * 4;
            const auto wanted = expected(x, y);
            for (std::size_t component = 0; component < 3; ++component)
                worst
                    = std::max(worst, std::abs(std::to_integer<int>(pixel[component]) - std::round(wanted[component])));
            if (pixel[3] != std::byte { 255 })
                return 1000;
        }
    }
    return worst;
}
