#include "ScreenWatcher.h"

#include "ChildProcess.h"
#include "Platform/AVFoundation/TestPictureCounter.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <array>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace {

constexpr int contrast = 48; ///< at least, between white and black blocks
constexpr auto pace = std::chrono::milliseconds(7); ///< several looks at each picture

/// The number whose blocks lie from \p x on in a row of brightnesses.
std::optional<std::uint32_t> readRow(const std::uint8_t* row, double x, double blockSize)
{
    using namespace TestPictureCounter;
    std::array<int, blocks> levels {};
    for (int index = 0; index < blocks; ++index) {
        levels[static_cast<std::size_t>(index)] = row[static_cast<int>(x + (index + 0.5) * blockSize)];
        if (index == 1 && levels[0] - levels[1] < contrast)
            return std::nullopt;
    }
    if (levels[2] - levels[1] < contrast || levels[2] - levels[3] < contrast
        || std::abs(levels[0] - levels[2]) > contrast || std::abs(levels[1] - levels[3]) > contrast)
        return std::nullopt;
    const int middle = (levels[0] + levels[1] + levels[2] + levels[3]) / 4;
    std::uint64_t bits = 0;
    for (std::size_t index = 4; index < blocks; ++index)
        bits = bits << 1 | (levels[index] > middle ? 1U : 0U);
    const auto number = static_cast<std::uint32_t>(bits >> 8);
    // A whole screen holds many patterns; one that says more than a run can count to is none of ours.
    constexpr std::uint32_t mostInARun = 1 << 20;
    if (checkSum(number) != (bits & 255) || number >= mostInARun)
        return std::nullopt;
    return number;
}

}

void ScreenWatcher::Close::operator()(Display* display) const
{
    ::XCloseDisplay(display);
}

ScreenWatcher::ScreenWatcher()
    : mDisplay(::XOpenDisplay(nullptr))
{
    if (!mDisplay)
        throw std::runtime_error("the screen cannot be read");
    std::optional<Row> row;
    if (!waitUntil([&] { return (row = find()).has_value(); }, std::chrono::seconds(20)))
        throw std::runtime_error("no numbered pictures are on the screen");
    mRow = *row;
    mThread = std::thread([this] { run(); });
}

ScreenWatcher::~ScreenWatcher()
{
    {
        const std::scoped_lock lock(mLock);
        mIsEnding = true;
    }
    mThread.join();
}

std::vector<std::uint32_t> ScreenWatcher::takeNumbers()
{
    const std::scoped_lock lock(mLock);
    const auto numbers = std::exchange(mNumbers, {});
    return { numbers.begin(), numbers.end() };
}

/// The green part of the pixels of a rectangle.
std::vector<std::uint8_t> ScreenWatcher::grab(int x, int y, int width, int height) const
{
    XImage* const image = ::XGetImage(mDisplay.get(), DefaultRootWindow(mDisplay.get()), x, y,
        static_cast<unsigned>(width), static_cast<unsigned>(height), AllPlanes, ZPixmap);
    if (!image || image->bits_per_pixel != 32)
        throw std::runtime_error("the screen cannot be read");
    std::vector<std::uint8_t> greens;
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
            greens.push_back(static_cast<std::uint8_t>(image->data[row * image->bytes_per_line + column * 4 + 1]));
    XDestroyImage(image);
    return greens;
}

std::optional<ScreenWatcher::Row> ScreenWatcher::find() const
{
    constexpr double smallestBlock = 6;
    constexpr double largestBlock = 30;
    constexpr double step = 0.1;
    const int width = DisplayWidth(mDisplay.get(), DefaultScreen(mDisplay.get()));
    const int height = DisplayHeight(mDisplay.get(), DefaultScreen(mDisplay.get()));
    const auto screen = grab(0, 0, width, height);
    for (int y = 0; y < height; y += 3) {
        const auto* const row = &screen[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)];
        // Several neighbouring places and sizes read the same; the middle one is the safest.
        std::vector<Row> found;
        for (double size = smallestBlock; size <= largestBlock; size += step)
            for (double x = 0; x + size * TestPictureCounter::blocks < width; x += 1)
                if (readRow(row, x, size))
                    found.push_back({ y, x, size });
        if (found.size() >= 5)
            return found[found.size() / 2];
    }
    return std::nullopt;
}

void ScreenWatcher::run()
{
    const int left = static_cast<int>(mRow.x);
    const int width = static_cast<int>(std::ceil(mRow.blockSize * TestPictureCounter::blocks)) + 1;
    for (;;) {
        const auto row = grab(left, mRow.y, width, 1);
        const auto number = readRow(row.data(), mRow.x - left, mRow.blockSize);
        {
            const std::scoped_lock lock(mLock);
            if (number)
                mNumbers.insert(*number);
            if (mIsEnding)
                return;
        }
        std::this_thread::sleep_for(pace);
    }
}
