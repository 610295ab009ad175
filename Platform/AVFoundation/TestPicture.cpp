#include "Platform/AVFoundation/TestPicture.h"

#include "Platform/AVFoundation/TestPictureCounter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace {

constexpr std::uint32_t white = 0xFFFFFFFF;
constexpr std::uint32_t black = 0xFF000000;
constexpr int charactersInLine = 8;
constexpr int glyphWidth = 5;
constexpr int glyphHeight = 7;
/// Dots from one character to the next.
constexpr int advance = 6;

/// The characters of the two lines, a row of five dots per number, the leftmost the highest bit.
constexpr std::string_view glyphNames = "0123456789:#";
constexpr std::array<std::array<std::uint8_t, glyphHeight>, 12> glyphs { {
    { 14, 17, 19, 21, 25, 17, 14 },
    { 4, 12, 4, 4, 4, 4, 14 },
    { 14, 17, 1, 6, 8, 16, 31 },
    { 30, 1, 1, 14, 1, 1, 30 },
    { 2, 6, 10, 18, 31, 2, 2 },
    { 31, 16, 30, 1, 1, 17, 14 },
    { 6, 8, 16, 30, 17, 17, 14 },
    { 31, 1, 2, 4, 8, 8, 8 },
    { 14, 17, 17, 14, 17, 17, 14 },
    { 14, 17, 17, 15, 1, 2, 12 },
    { 0, 4, 4, 0, 4, 4, 0 },
    { 10, 10, 31, 10, 31, 10, 10 },
} };

constexpr std::array<std::uint32_t, 8> bars { 0xFFEBEBEB, 0xFFE8D44D, 0xFF4DD0E1, 0xFF66BB6A, 0xFFBA68C8, 0xFFEF5350,
    0xFF5C6BC0, 0xFF263238 };

std::uint32_t colourOf(float red, float green, float blue)
{
    const auto byte = [](float value) { return static_cast<std::uint32_t>(std::clamp(value, 0.0F, 255.0F)); };
    return 0xFF000000 | byte(red) << 16 | byte(green) << 8 | byte(blue);
}

std::uint32_t mixed(std::uint32_t below, std::uint32_t above, std::uint32_t coverage)
{
    const auto channel = [&](int shift) {
        const std::uint32_t a = below >> shift & 255;
        const std::uint32_t b = above >> shift & 255;
        return (a * (255 - coverage) + b * coverage + 127) / 255 << shift;
    };
    return 0xFF000000 | channel(16) | channel(8) | channel(0);
}

std::string digits(std::uint32_t number, std::size_t count)
{
    std::string text(count, '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, number /= 10)
        *digit = static_cast<char>('0' + number % 10);
    return text;
}

}

TestPicture::TestPicture(CMVideoDimensions dimensions)
    : mWidth(std::max(dimensions.width, TestPictureCounter::columns))
    , mHeight(std::max(dimensions.height, 36))
    , mDiameter(std::min(mWidth * 7 / 64, mHeight * 7 / 36))
    , mDot(std::max(1, std::min(mWidth * 3 / 320, mHeight / 60)))
    , mBackground(static_cast<std::size_t>(mWidth) * static_cast<std::size_t>(mHeight))
{
    paintBackground();
    paintBall(mBalls[0], 255, 112, 67);
    paintBall(mBalls[1], 255, 213, 79);
    paintBall(mBalls[2], 77, 182, 255);
}

void TestPicture::draw(
    std::span<std::byte> pixels, std::size_t bytesPerRow, std::uint32_t number, int time, Shown& shown) const
{
    if (pixels.size() < bytesPerRow * static_cast<std::size_t>(mHeight)
        || bytesPerRow < static_cast<std::size_t>(mWidth) * 4)
        return;
    const Canvas canvas { pixels.data(), bytesPerRow };
    if (!shown.hasBackground) {
        restore(canvas, { 0, 0, mWidth, mHeight });
        shown = { .hasBackground = true, .number = number, .texts = {} };
    }
    for (int i = 0; i < static_cast<int>(mBalls.size()); ++i)
        restore(canvas, ballArea(i, shown.number));
    for (int i = 0; i < static_cast<int>(mBalls.size()); ++i)
        drawBall(canvas, mBalls[static_cast<std::size_t>(i)], ballArea(i, number));
    const auto clock = [](int unit) { return digits(static_cast<std::uint32_t>(unit), 2); };
    drawText(canvas, 0, clock(time / 3600 % 24) + ":" + clock(time / 60 % 60) + ":" + clock(time % 60), shown.texts[0]);
    drawText(canvas, 1, "#" + digits(number, charactersInLine - 1), shown.texts[1]);
    drawCounter(canvas, number);
    shown.number = number;
}

void TestPicture::paintBackground()
{
    // A slow turn through the colours, with soft rings around a point above the middle. Both come from tables, since
    // the camera is to open at once.
    constexpr int steps = 2048;
    std::vector<std::array<float, 3>> turn(steps);
    std::vector<float> rings(steps);
    for (int i = 0; i < steps; ++i) {
        const double angle = 2 * std::numbers::pi * i / steps;
        turn[static_cast<std::size_t>(i)]
            = { static_cast<float>(118 + 92 * std::cos(angle)), static_cast<float>(112 + 72 * std::cos(angle - 2.2)),
                  static_cast<float>(136 + 92 * std::cos(angle - 4.2)) };
        const double distance = static_cast<double>(i) / steps;
        rings[static_cast<std::size_t>(i)]
            = static_cast<float>(0.8 + 0.2 * std::cos(distance * 90) * std::exp(-distance * 2.5));
    }
    const int barHeight = mHeight / 12;
    const auto panelTop = characterArea(0, 0).y - mDot * 3;
    const auto panelBottom = characterArea(0, 0).y + mDot * (glyphHeight + 3);
    auto pixel = mBackground.begin();
    for (int y = 0; y < mHeight; ++y) {
        const float down = static_cast<float>(y) / static_cast<float>(mHeight);
        const float fromMiddle = (down - 0.4F) * static_cast<float>(mHeight) / static_cast<float>(mWidth);
        for (int x = 0; x < mWidth; ++x, ++pixel) {
            const float across = static_cast<float>(x) / static_cast<float>(mWidth);
            const auto angle = static_cast<std::size_t>((0.75F * across + 0.35F * down) * steps) % steps;
            const float distance = std::sqrt((across - 0.5F) * (across - 0.5F) + fromMiddle * fromMiddle);
            const float light = rings[std::min<std::size_t>(static_cast<std::size_t>(distance * steps), steps - 1)];
            const auto& [red, green, blue] = turn[angle];
            *pixel = colourOf(red * light, green * light, blue * light);
            if (y < barHeight)
                *pixel = bars[static_cast<std::size_t>(x * 8 / mWidth)];
            else if (y >= panelTop && y < panelBottom)
                *pixel = mixed(*pixel, black, 150);
        }
    }
}

void TestPicture::paintBall(Ball& ball, float red, float green, float blue) const
{
    const auto size = static_cast<std::size_t>(mDiameter);
    ball.colours.resize(size * size);
    ball.coverage.resize(size * size);
    const float radius = static_cast<float>(mDiameter) / 2;
    for (int y = 0; y < mDiameter; ++y) {
        for (int x = 0; x < mDiameter; ++x) {
            const float dx = (static_cast<float>(x) + 0.5F - radius) / radius;
            const float dy = (static_cast<float>(y) + 0.5F - radius) / radius;
            const float distance = std::sqrt(dx * dx + dy * dy);
            // Lit from above on the left.
            const float fromLight = (dx + 0.35F) * (dx + 0.35F) + (dy + 0.4F) * (dy + 0.4F);
            const float lit = std::clamp(1.15F - std::sqrt(fromLight) * 0.75F, 0.15F, 1.15F);
            const float shine = 110 * std::exp(-12 * fromLight);
            const auto index = static_cast<std::size_t>(y) * size + static_cast<std::size_t>(x);
            ball.colours[index] = colourOf(red * lit + shine, green * lit + shine, blue * lit + shine);
            ball.coverage[index]
                = static_cast<std::uint8_t>(std::clamp((1 - distance) * radius + 0.5F, 0.0F, 1.0F) * 255);
        }
        const auto row = std::span(ball.coverage).subspan(static_cast<std::size_t>(y) * size, size);
        const auto begin = std::ranges::find(row, 255);
        const auto end = std::find_if(begin, row.end(), [](std::uint8_t coverage) { return coverage != 255; });
        ball.full.emplace_back(begin - row.begin(), end - row.begin());
    }
}

void TestPicture::fill(Canvas canvas, Rectangle area, std::uint32_t colour) const
{
    for (int y = area.y; y < area.y + area.height; ++y) {
        std::byte* const row = canvas.pixels + static_cast<std::size_t>(y) * canvas.bytesPerRow;
        for (int x = area.x; x < area.x + area.width; ++x)
            std::memcpy(row + static_cast<std::size_t>(x) * 4, &colour, 4);
    }
}

void TestPicture::restore(Canvas canvas, Rectangle area) const
{
    for (int y = area.y; y < area.y + area.height; ++y) {
        const auto offset
            = static_cast<std::size_t>(y) * static_cast<std::size_t>(mWidth) + static_cast<std::size_t>(area.x);
        std::memcpy(
            canvas.pixels + static_cast<std::size_t>(y) * canvas.bytesPerRow + static_cast<std::size_t>(area.x) * 4,
            mBackground.data() + offset, static_cast<std::size_t>(area.width) * 4);
    }
}

TestPicture::Rectangle TestPicture::ballArea(int index, std::uint32_t number) const
{
    // Between the bars and the digits; each ball has periods of its own, in frames.
    static constexpr std::array<std::array<double, 2>, 3> periods { { { 211, 97 }, { 157, 131 }, { 293, 71 } } };
    const auto& [periodX, periodY] = periods[static_cast<std::size_t>(index)];
    const int top = mHeight / 12;
    const int rangeX = mWidth - mDiameter;
    const int rangeY = std::max(0, characterArea(0, 0).y - mDot * 3 - top - mDiameter);
    const auto swing = [number, index](double period) {
        return 0.5 + 0.5 * std::sin(2 * std::numbers::pi * (std::fmod(number, period) / period + index / 3.0));
    };
    return { static_cast<int>(rangeX * swing(periodX)), top + static_cast<int>(rangeY * swing(periodY)), mDiameter,
        mDiameter };
}

void TestPicture::drawBall(Canvas canvas, const Ball& ball, Rectangle area) const
{
    const auto width = static_cast<std::size_t>(area.width);
    for (std::size_t y = 0; y < static_cast<std::size_t>(area.height); ++y) {
        std::byte* const row = canvas.pixels + (static_cast<std::size_t>(area.y) + y) * canvas.bytesPerRow
            + static_cast<std::size_t>(area.x) * 4;
        const std::uint32_t* const colours = ball.colours.data() + y * width;
        const std::uint8_t* const coverage = ball.coverage.data() + y * width;
        const auto [begin, end] = ball.full[y];
        if (begin < end)
            std::memcpy(row + begin * 4, colours + begin, (end - begin) * 4);
        for (std::size_t x = 0; x < width; x = x + 1 == begin ? end : x + 1) {
            if (coverage[x] == 0 || coverage[x] == 255)
                continue;
            std::uint32_t colour = 0;
            std::memcpy(&colour, row + x * 4, 4);
            colour = mixed(colour, colours[x], coverage[x]);
            std::memcpy(row + x * 4, &colour, 4);
        }
    }
}

void TestPicture::drawText(Canvas canvas, int line, const std::string& text, std::string& shown) const
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i < shown.size() && shown[i] == text[i])
            continue;
        const auto area = characterArea(line, static_cast<int>(i));
        restore(canvas, area);
        const auto glyph = glyphNames.find(text[i]);
        if (glyph == std::string_view::npos)
            continue;
        for (int row = 0; row < glyphHeight; ++row)
            for (int column = 0; column < glyphWidth; ++column)
                if (glyphs[glyph][static_cast<std::size_t>(row)] >> (glyphWidth - 1 - column) & 1)
                    fill(canvas, { area.x + column * mDot, area.y + row * mDot, mDot, mDot }, white);
    }
    shown = text;
}

void TestPicture::drawCounter(Canvas canvas, std::uint32_t number) const
{
    for (int index = 0; index < TestPictureCounter::blocks; ++index) {
        const auto block = TestPictureCounter::blockAt(index, mWidth, mHeight);
        const auto next = TestPictureCounter::blockAt(index + 1, mWidth, mHeight);
        fill(canvas, { block.x, block.y, next.x - block.x, block.size },
            TestPictureCounter::isWhite(number, index) ? white : black);
    }
}

TestPicture::Rectangle TestPicture::characterArea(int line, int position) const
{
    const int lineWidth = charactersInLine * advance * mDot;
    const int gap = std::max(0, (mWidth - 2 * lineWidth) / 3);
    const int y = std::max(0, mHeight - 4 * (mWidth / TestPictureCounter::columns) - (glyphHeight + 3) * mDot);
    return { gap + line * (lineWidth + gap) + position * advance * mDot, y, glyphWidth * mDot, glyphHeight * mDot };
}
