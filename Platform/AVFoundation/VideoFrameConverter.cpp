#include "Platform/AVFoundation/VideoFrameConverter.h"

#include "Platform/AVFoundation/VideoFrameColours.h"

#include <algorithm>
#include <cstring>

/// The part of a frame that is used, its planes beginning at the part's first pixel.
struct VideoFrameConverter::Picture {
    Layout layout;
    int width;
    int height;
    std::array<Plane, 3> planes;
    const libyuv::YuvConstants* colours;
};

/// The BGRA pixels that are written.
struct VideoFrameConverter::Target {
    std::uint8_t* pixels;
    int bytesPerRow;
    int width;
    int height;
};

namespace {

using Layout = VideoFrameConverter::Layout;
using Plane = VideoFrameConverter::Plane;

/// A pixel of other proportions than these is a camera's mistake.
constexpr int mostStretched = 4;

/// The scratch memories, by what they hold.
enum Scratch : std::size_t {
    firstPlane,
    secondPlane,
    thirdPlane,
    firstSet,
    secondSet = firstSet + 3,
    unturned = secondSet + 3
};

bool isPlanar(Layout layout)
{
    return layout <= Layout::NV21;
}

bool isBiplanar(Layout layout)
{
    return layout == Layout::NV12 || layout == Layout::NV21;
}

bool isPackedPairs(Layout layout)
{
    return layout == Layout::YUY2 || layout == Layout::YVYU || layout == Layout::UYVY;
}

int bytesPerPixel(Layout layout)
{
    if (isPackedPairs(layout))
        return 2;
    return layout == Layout::BGR || layout == Layout::RGB ? 3 : 4;
}

bool isHalfDown(Layout layout)
{
    return layout == Layout::I420 || isBiplanar(layout);
}

const libyuv::YuvConstants& coloursOf(const VideoFrameConverter::Frame& frame)
{
    auto matrix = VideoFrameColours::Matrix::BT601;
    if (frame.matrix == VideoFrameConverter::Matrix::BT709)
        matrix = VideoFrameColours::Matrix::BT709;
    else if (frame.matrix == VideoFrameConverter::Matrix::BT2020)
        matrix = VideoFrameColours::Matrix::BT2020;
    return VideoFrameColours::constantsFor(matrix, frame.isFullRange);
}

int halved(int value)
{
    return (value + 1) / 2;
}

/// The picture without its first columns and rows, which are even numbers.
std::array<Plane, 3> planesFrom(const VideoFrameConverter::Frame& frame, int x, int y)
{
    auto planes = frame.planes;
    const auto skip = [&planes](std::size_t plane, int bytes, int rows) {
        if (planes[plane].data)
            planes[plane].data += static_cast<std::ptrdiff_t>(rows) * planes[plane].bytesPerRow + bytes;
    };
    if (!isPlanar(frame.layout)) {
        skip(0, x * bytesPerPixel(frame.layout), y);
        return planes;
    }
    const bool halfAcross = frame.layout == Layout::I420 || frame.layout == Layout::I422;
    skip(0, x, y);
    for (const std::size_t plane : { 1U, 2U })
        skip(plane, halfAcross ? x / 2 : x, isHalfDown(frame.layout) ? y / 2 : y);
    return planes;
}

/// Copies pixels of four bytes and makes them opaque; \p from and \p to may be the same.
void copyOpaque(const std::uint8_t* from, std::uint8_t* to, int count)
{
    // Four at a time, which the compiler makes one instruction of.
    constexpr std::uint64_t opaquePair = 0xFF000000'FF000000U;
    std::ptrdiff_t at = 0;
    const std::ptrdiff_t end = static_cast<std::ptrdiff_t>(count) * 4;
    for (; at + 16 <= end; at += 16) {
        std::array<std::uint64_t, 2> pixels;
        std::memcpy(pixels.data(), from + at, 16);
        pixels[0] |= opaquePair;
        pixels[1] |= opaquePair;
        std::memcpy(to + at, pixels.data(), 16);
    }
    for (; at < end; at += 4) {
        std::memmove(to + at, from + at, 4);
        to[at + 3] = 255;
    }
}

/// Brings red, green and blue from 16 to 235 to the full range.
void widen(std::uint8_t* pixels, int bytesPerRow, int width, int height)
{
    std::array<std::uint8_t, 256 * 4> table {};
    for (int value = 0; value < 256; ++value) {
        const int wide = std::clamp(((value - 16) * 255 * 2 + 219) / (219 * 2), 0, 255);
        for (int channel = 0; channel < 4; ++channel)
            table[static_cast<std::size_t>(value * 4 + channel)]
                = static_cast<std::uint8_t>(channel == 3 ? value : wide);
    }
    libyuv::ARGBColorTable(pixels, bytesPerRow, table.data(), 0, 0, width, height);
}

}

void VideoFrameConverter::takeOneField(Frame& frame)
{
    if (frame.dimensions.height < 2)
        return;
    frame.dimensions.height = halved(frame.dimensions.height);
    frame.pixelHeight *= 2;
    for (auto& plane : frame.planes)
        plane.bytesPerRow *= 2;
}

CMVideoDimensions VideoFrameConverter::uprightDimensions(const Frame& frame)
{
    auto [width, height] = frame.dimensions;
    const auto stretched = [](int value, int by, int whole) {
        return static_cast<int>((static_cast<std::int64_t>(value) * by + whole / 2) / whole);
    };
    if (frame.pixelWidth > frame.pixelHeight)
        width = stretched(width, frame.pixelWidth, frame.pixelHeight);
    else if (frame.pixelHeight > frame.pixelWidth)
        height = stretched(height, frame.pixelHeight, frame.pixelWidth);
    if (frame.orientation.quarterTurns % 2 != 0)
        std::swap(width, height);
    return { width, height };
}

VideoFrameConverter::Part VideoFrameConverter::partWithProportions(
    CMVideoDimensions source, CMVideoDimensions target, int pixelWidth, int pixelHeight)
{
    if (pixelWidth <= 0 || pixelHeight <= 0 || pixelWidth / pixelHeight > mostStretched
        || pixelHeight / pixelWidth > mostStretched)
        pixelWidth = pixelHeight = 1;
    Part part { 0, 0, source.width, source.height };
    // What the target would be with pixels like the source's.
    const auto across = static_cast<std::int64_t>(target.width) * pixelHeight;
    const auto down = static_cast<std::int64_t>(target.height) * pixelWidth;
    const auto sourceAcross = source.width * down;
    const auto sourceDown = source.height * across;
    if (sourceAcross > sourceDown)
        part.width = std::max(1, static_cast<int>((sourceDown + down / 2) / down));
    else
        part.height = std::max(1, static_cast<int>((sourceAcross + across / 2) / across));
    // Even places, since colours are stored for pairs of pixels.
    part.x = (source.width - part.width) / 2 & ~1;
    part.y = (source.height - part.height) / 2 & ~1;
    return part;
}

bool VideoFrameConverter::convert(const Frame& frame, CVPixelBuffer& buffer)
{
    if (!frame.planes[0].data || frame.dimensions.width <= 0 || frame.dimensions.height <= 0 || !buffer.baseAddress())
        return false;
    const Target target { reinterpret_cast<std::uint8_t*>(buffer.baseAddress()), static_cast<int>(buffer.bytesPerRow()),
        static_cast<int>(buffer.width()), static_cast<int>(buffer.height()) };
    if (frame.orientation.isUpright())
        return convertUpright(frame, target);

    const auto [isMirrored, quarterTurns] = frame.orientation;
    Target lying { nullptr, 0, target.width, target.height };
    if (quarterTurns % 2 != 0)
        std::swap(lying.width, lying.height);
    lying.bytesPerRow = lying.width * 4;
    lying.pixels
        = scratch(unturned, static_cast<std::size_t>(lying.bytesPerRow) * static_cast<std::size_t>(lying.height));
    if (!convertUpright(frame, lying))
        return false;
    // Mirrored left to right is upside down, turned by a half; the library takes upside down as a negative height.
    static constexpr libyuv::RotationModeEnum turns[] { libyuv::kRotate0, libyuv::kRotate90, libyuv::kRotate180,
        libyuv::kRotate270 };
    return libyuv::ARGBRotate(lying.pixels, lying.bytesPerRow, target.pixels, target.bytesPerRow, lying.width,
               isMirrored ? -lying.height : lying.height, turns[(quarterTurns + (isMirrored ? 2 : 0)) % 4])
        == 0;
}

bool VideoFrameConverter::convertUpright(const Frame& frame, const Target& target)
{
    const auto part
        = partWithProportions(frame.dimensions, { target.width, target.height }, frame.pixelWidth, frame.pixelHeight);
    const bool fits = part.width == target.width && part.height == target.height;
    Picture picture { frame.layout, part.width, part.height, planesFrom(frame, part.x, part.y), &coloursOf(frame) };
    if (isPlanar(frame.layout))
        return (fits || scale(picture, { target.width, target.height })) && convertPlanes(picture, target);
    if (!isPackedPairs(frame.layout)) {
        if (!convertColours(picture, target))
            return false;
        if (!frame.isFullRange)
            widen(target.pixels, target.bytesPerRow, target.width, target.height);
        return true;
    }
    if (fits && frame.layout != Layout::YVYU) {
        const auto order
            = frame.layout == Layout::YUY2 ? VideoFrameColours::Pairs::YUY2 : VideoFrameColours::Pairs::UYVY;
        VideoFrameColours::convertPairs(order, picture.planes[0].data, picture.planes[0].bytesPerRow, target.pixels,
            target.bytesPerRow, *picture.colours, target.width, target.height);
        return true;
    }
    return unpack(picture) && (fits || scale(picture, { target.width, target.height }))
        && convertPlanes(picture, target);
}

bool VideoFrameConverter::convertPlanes(const Picture& picture, const Target& target)
{
    const auto& [y, u, v] = picture.planes;
    if (picture.layout == Layout::I400)
        return libyuv::I400ToARGBMatrix(y.data, y.bytesPerRow, target.pixels, target.bytesPerRow, picture.colours,
                   picture.width, picture.height)
            == 0;
    if (isBiplanar(picture.layout)) {
        const auto convertTwo = picture.layout == Layout::NV12 ? libyuv::NV12ToARGBMatrix : libyuv::NV21ToARGBMatrix;
        return convertTwo(y.data, y.bytesPerRow, u.data, u.bytesPerRow, target.pixels, target.bytesPerRow,
                   picture.colours, picture.width, picture.height)
            == 0;
    }
    auto* convertThree = libyuv::I420ToARGBMatrix;
    if (picture.layout == Layout::I422)
        convertThree = libyuv::I422ToARGBMatrix;
    else if (picture.layout == Layout::I444)
        convertThree = libyuv::I444ToARGBMatrix;
    return convertThree(y.data, y.bytesPerRow, u.data, u.bytesPerRow, v.data, v.bytesPerRow, target.pixels,
               target.bytesPerRow, picture.colours, picture.width, picture.height)
        == 0;
}

bool VideoFrameConverter::convertColours(const Picture& picture, const Target& target)
{
    auto* reorder = libyuv::ARGBCopy;
    if (picture.layout == Layout::RGBA)
        reorder = libyuv::ABGRToARGB;
    else if (picture.layout == Layout::BGR)
        reorder = libyuv::RGB24ToARGB;
    else if (picture.layout == Layout::RGB)
        reorder = libyuv::RAWToARGB;
    const bool isOpaque = bytesPerPixel(picture.layout) == 3;

    if (picture.width != target.width || picture.height != target.height)
        return scaleColours(picture, target);
    // Row by row, so that a row is still at hand when it is made opaque.
    const Plane& source = picture.planes[0];
    for (int y = 0; y < target.height; ++y) {
        const auto* const from = source.data + static_cast<std::ptrdiff_t>(y) * source.bytesPerRow;
        auto* const to = target.pixels + static_cast<std::ptrdiff_t>(y) * target.bytesPerRow;
        if (picture.layout == Layout::BGRA) {
            copyOpaque(from, to, target.width);
            continue;
        }
        if (reorder(from, 0, to, 0, target.width, 1) != 0)
            return false;
        if (!isOpaque)
            copyOpaque(to, to, target.width);
    }
    return true;
}

bool VideoFrameConverter::scaleColours(const Picture& picture, const Target& target)
{
    // Plane by plane: the library's scaling of whole pixels darkens by up to two of 255.
    const auto area = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    auto* const first = scratch(firstPlane, area);
    auto* const second = scratch(secondPlane, area);
    auto* const third = scratch(thirdPlane, area);
    const Plane& source = picture.planes[0];
    const int width = picture.width;
    if (bytesPerPixel(picture.layout) == 3)
        libyuv::SplitRGBPlane(
            source.data, source.bytesPerRow, first, width, second, width, third, width, width, picture.height);
    else
        libyuv::SplitARGBPlane(source.data, source.bytesPerRow, third, width, second, width, first, width, nullptr, 0,
            width, picture.height);
    // The planes are in the order of the bytes now.
    const bool isBlueFirst = picture.layout == Layout::BGRA || picture.layout == Layout::BGR;
    Picture planar { Layout::I444, width, picture.height, { { { first, width }, { second, width }, { third, width } } },
        nullptr };
    if (!scale(planar, { target.width, target.height }))
        return false;
    const auto& red = planar.planes[isBlueFirst ? 2 : 0];
    const auto& blue = planar.planes[isBlueFirst ? 0 : 2];
    libyuv::MergeARGBPlane(red.data, red.bytesPerRow, planar.planes[1].data, planar.planes[1].bytesPerRow, blue.data,
        blue.bytesPerRow, nullptr, 0, target.pixels, target.bytesPerRow, target.width, target.height);
    return true;
}

bool VideoFrameConverter::unpack(Picture& picture)
{
    const int across = halved(picture.width);
    const auto height = static_cast<std::size_t>(picture.height);
    auto* const y = scratch(firstPlane, static_cast<std::size_t>(picture.width) * height);
    auto* u = scratch(secondPlane, static_cast<std::size_t>(across) * height);
    auto* v = scratch(thirdPlane, static_cast<std::size_t>(across) * height);
    const auto separate = picture.layout == Layout::UYVY ? libyuv::UYVYToI422 : libyuv::YUY2ToI422;
    if (separate(picture.planes[0].data, picture.planes[0].bytesPerRow, y, picture.width, u, across, v, across,
            picture.width, picture.height)
        != 0)
        return false;
    if (picture.layout == Layout::YVYU)
        std::swap(u, v);
    picture.layout = Layout::I422;
    picture.planes = { { { y, picture.width }, { u, across }, { v, across } } };
    return true;
}

void VideoFrameConverter::separateColours(Picture& picture)
{
    // The library's scaling of pairs loses up to two of 255, which would tint the picture.
    const int across = halved(picture.width);
    const int down = halved(picture.height);
    const auto area = static_cast<std::size_t>(across) * static_cast<std::size_t>(down);
    auto* blue = scratch(firstPlane, area);
    auto* red = scratch(secondPlane, area);
    libyuv::SplitUVPlane(
        picture.planes[1].data, picture.planes[1].bytesPerRow, blue, across, red, across, across, down);
    if (picture.layout == Layout::NV21)
        std::swap(blue, red);
    picture.layout = Layout::I420;
    picture.planes[1] = { blue, across };
    picture.planes[2] = { red, across };
}

bool VideoFrameConverter::scale(Picture& picture, CMVideoDimensions size)
{
    if (isBiplanar(picture.layout))
        separateColours(picture);
    // Where much is taken away, so that fine detail does not flicker: halves, which are exact means, and then the
    // rest. The library's own mean of larger boxes is too dark, by as much as four of 255 in the result.
    while (picture.width >= std::max(4, size.width * 2) && picture.height >= std::max(4, size.height * 2)) {
        // The colours' planes are to have exact halves as well.
        picture.width &= ~3;
        picture.height &= ~3;
        if (!scaleOnce(picture, { picture.width / 2, picture.height / 2 }, libyuv::kFilterBox))
            return false;
    }
    return (picture.width == size.width && picture.height == size.height)
        || scaleOnce(picture, size, libyuv::kFilterBilinear);
}

bool VideoFrameConverter::scaleOnce(Picture& picture, CMVideoDimensions size, int filterMode)
{
    const auto filter = static_cast<libyuv::FilterMode>(filterMode);
    mUsesSecondSet = !mUsesSecondSet;
    const std::size_t set = mUsesSecondSet ? secondSet : firstSet;
    const auto& [y, u, v] = picture.planes;
    const auto rows = static_cast<std::size_t>(size.height);
    const auto colourRows = static_cast<std::size_t>(isHalfDown(picture.layout) ? halved(size.height) : size.height);
    const int across = picture.layout == Layout::I444 ? size.width : halved(size.width);
    auto* const scaledY = scratch(set, static_cast<std::size_t>(size.width) * rows);
    std::array<Plane, 3> scaled { { { scaledY, size.width }, {}, {} } };
    int status = 0;
    if (picture.layout == Layout::I400) {
        libyuv::ScalePlane(
            y.data, y.bytesPerRow, picture.width, picture.height, scaledY, size.width, size.width, size.height, filter);
    } else {
        auto* scaleThree = libyuv::I420Scale;
        if (picture.layout == Layout::I422)
            scaleThree = libyuv::I422Scale;
        else if (picture.layout == Layout::I444)
            scaleThree = libyuv::I444Scale;
        auto* const scaledU = scratch(set + 1, static_cast<std::size_t>(across) * colourRows);
        auto* const scaledV = scratch(set + 2, static_cast<std::size_t>(across) * colourRows);
        status = scaleThree(y.data, y.bytesPerRow, u.data, u.bytesPerRow, v.data, v.bytesPerRow, picture.width,
            picture.height, scaledY, size.width, scaledU, across, scaledV, across, size.width, size.height, filter);
        scaled[1] = { scaledU, across };
        scaled[2] = { scaledV, across };
    }
    picture.planes = scaled;
    picture.width = size.width;
    picture.height = size.height;
    return status == 0;
}

std::uint8_t* VideoFrameConverter::scratch(std::size_t index, std::size_t size)
{
    auto& memory = mScratch[index];
    // Whole vectors may be read and written past the end of the last row.
    if (memory.size() < size + 64)
        memory.resize(size + 64);
    return memory.data();
}
