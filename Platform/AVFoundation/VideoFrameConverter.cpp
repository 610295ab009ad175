#include "Platform/AVFoundation/VideoFrameConverter.h"

#include <libyuv.h>

#include <algorithm>

/// The part of a frame that is used, its planes beginning at the part's first pixel.
struct VideoFrameConverter::Picture {
    Layout layout;
    int width;
    int height;
    std::array<Plane, 3> planes;
    const libyuv::YuvConstants* colours;
};

namespace {

using Layout = VideoFrameConverter::Layout;

bool isPlanar(Layout layout)
{
    return layout == Layout::I420 || layout == Layout::I422 || layout == Layout::I444 || layout == Layout::NV12;
}

bool isPackedPairs(Layout layout)
{
    return layout == Layout::YUY2 || layout == Layout::UYVY;
}

int bytesPerPixel(Layout layout)
{
    if (isPackedPairs(layout))
        return 2;
    return layout == Layout::BGR || layout == Layout::RGB ? 3 : 4;
}

const libyuv::YuvConstants* coloursOf(const VideoFrameConverter::Frame& frame)
{
    if (frame.isHighDefinition)
        return frame.isFullRange ? &libyuv::kYuvF709Constants : &libyuv::kYuvH709Constants;
    return frame.isFullRange ? &libyuv::kYuvJPEGConstants : &libyuv::kYuvI601Constants;
}

/// Box filtering when much is taken away, so that fine detail does not flicker.
libyuv::FilterMode filterFor(int from, int to)
{
    return to * 2 <= from ? libyuv::kFilterBox : libyuv::kFilterBilinear;
}

int halved(int value)
{
    return (value + 1) / 2;
}

void makeOpaque(std::uint8_t* pixels, int bytesPerRow, int width, int height)
{
    for (int y = 0; y < height; ++y) {
        std::uint8_t* const row = pixels + static_cast<std::ptrdiff_t>(y) * bytesPerRow;
        for (int x = 0; x < width; ++x)
            row[x * 4 + 3] = 255;
    }
}

}

VideoFrameConverter::Part VideoFrameConverter::partWithProportions(CMVideoDimensions source, CMVideoDimensions target)
{
    Part part { 0, 0, source.width, source.height };
    const auto sourceAcross = static_cast<std::int64_t>(source.width) * target.height;
    const auto sourceDown = static_cast<std::int64_t>(source.height) * target.width;
    if (sourceAcross > sourceDown)
        part.width = std::max(1, static_cast<int>((sourceDown + target.height / 2) / target.height));
    else
        part.height = std::max(1, static_cast<int>((sourceAcross + target.width / 2) / target.width));
    // Even places, since colours are stored for pairs of pixels.
    part.x = (source.width - part.width) / 2 & ~1;
    part.y = (source.height - part.height) / 2 & ~1;
    return part;
}

bool VideoFrameConverter::convert(const Frame& frame, CVPixelBuffer& buffer)
{
    const CMVideoDimensions target { static_cast<int>(buffer.width()), static_cast<int>(buffer.height()) };
    if (!frame.planes[0].data || frame.dimensions.width <= 0 || frame.dimensions.height <= 0 || !buffer.baseAddress())
        return false;
    const auto part = partWithProportions(frame.dimensions, target);
    Picture picture { frame.layout, part.width, part.height, frame.planes, coloursOf(frame) };
    const auto advance = [&picture](std::size_t plane, int x, int y) {
        if (picture.planes[plane].data)
            picture.planes[plane].data += static_cast<std::ptrdiff_t>(y) * picture.planes[plane].bytesPerRow + x;
    };
    if (isPlanar(frame.layout)) {
        const bool halfAcross = frame.layout == Layout::I420 || frame.layout == Layout::I422;
        const bool halfDown = frame.layout == Layout::I420 || frame.layout == Layout::NV12;
        advance(0, part.x, part.y);
        for (const std::size_t plane : { 1U, 2U })
            advance(plane, halfAcross ? part.x / 2 : part.x, halfDown ? part.y / 2 : part.y);
        return (part.width == target.width && part.height == target.height) || scale(picture, target)
            ? convertPlanes(picture, buffer)
            : false;
    }
    advance(0, part.x * bytesPerPixel(frame.layout), part.y);
    if (!isPackedPairs(frame.layout))
        return convertColours(picture, buffer);
    const bool fits = part.width == target.width && part.height == target.height;
    if (fits && picture.colours == &libyuv::kYuvI601Constants) {
        const auto convertPairs = frame.layout == Layout::YUY2 ? libyuv::YUY2ToARGB : libyuv::UYVYToARGB;
        return convertPairs(picture.planes[0].data, picture.planes[0].bytesPerRow,
                   reinterpret_cast<std::uint8_t*>(buffer.baseAddress()), static_cast<int>(buffer.bytesPerRow()),
                   target.width, target.height)
            == 0;
    }
    return unpack(picture) && (fits || scale(picture, target)) && convertPlanes(picture, buffer);
}

bool VideoFrameConverter::convertPlanes(const Picture& picture, CVPixelBuffer& buffer)
{
    auto* const pixels = reinterpret_cast<std::uint8_t*>(buffer.baseAddress());
    const auto bytesPerRow = static_cast<int>(buffer.bytesPerRow());
    const auto& [y, u, v] = picture.planes;
    if (picture.layout == Layout::NV12)
        return libyuv::NV12ToARGBMatrix(y.data, y.bytesPerRow, u.data, u.bytesPerRow, pixels, bytesPerRow,
                   picture.colours, picture.width, picture.height)
            == 0;
    auto* convertThree = libyuv::I420ToARGBMatrix;
    if (picture.layout == Layout::I422)
        convertThree = libyuv::I422ToARGBMatrix;
    else if (picture.layout == Layout::I444)
        convertThree = libyuv::I444ToARGBMatrix;
    return convertThree(y.data, y.bytesPerRow, u.data, u.bytesPerRow, v.data, v.bytesPerRow, pixels, bytesPerRow,
               picture.colours, picture.width, picture.height)
        == 0;
}

bool VideoFrameConverter::convertColours(const Picture& picture, CVPixelBuffer& buffer)
{
    auto* const pixels = reinterpret_cast<std::uint8_t*>(buffer.baseAddress());
    const auto bytesPerRow = static_cast<int>(buffer.bytesPerRow());
    const auto width = static_cast<int>(buffer.width());
    const auto height = static_cast<int>(buffer.height());
    const bool fits = picture.width == width && picture.height == height;

    Plane source = picture.planes[0];
    if (picture.layout != Layout::BGRA) {
        auto* reorder = libyuv::ABGRToARGB;
        if (picture.layout == Layout::BGR)
            reorder = libyuv::RGB24ToARGB;
        else if (picture.layout == Layout::RGB)
            reorder = libyuv::RAWToARGB;
        const int scratchRow = picture.width * 4;
        auto* const target = fits
            ? pixels
            : scratch(0, static_cast<std::size_t>(scratchRow) * static_cast<std::size_t>(picture.height));
        if (reorder(
                source.data, source.bytesPerRow, target, fits ? bytesPerRow : scratchRow, picture.width, picture.height)
            != 0)
            return false;
        source = { target, scratchRow };
    } else if (fits) {
        libyuv::ARGBCopy(source.data, source.bytesPerRow, pixels, bytesPerRow, width, height);
    }
    if (!fits
        && libyuv::ARGBScale(source.data, source.bytesPerRow, picture.width, picture.height, pixels, bytesPerRow, width,
               height, filterFor(picture.width, width))
            != 0)
        return false;
    makeOpaque(pixels, bytesPerRow, width, height);
    return true;
}

bool VideoFrameConverter::unpack(Picture& picture)
{
    const int across = halved(picture.width);
    const auto height = static_cast<std::size_t>(picture.height);
    auto* const y = scratch(0, static_cast<std::size_t>(picture.width) * height);
    auto* const u = scratch(1, static_cast<std::size_t>(across) * height);
    auto* const v = scratch(2, static_cast<std::size_t>(across) * height);
    const auto separate = picture.layout == Layout::YUY2 ? libyuv::YUY2ToI422 : libyuv::UYVYToI422;
    if (separate(picture.planes[0].data, picture.planes[0].bytesPerRow, y, picture.width, u, across, v, across,
            picture.width, picture.height)
        != 0)
        return false;
    picture.layout = Layout::I422;
    picture.planes = { { { y, picture.width }, { u, across }, { v, across } } };
    return true;
}

bool VideoFrameConverter::scale(Picture& picture, CMVideoDimensions target)
{
    const auto filter = filterFor(picture.width, target.width);
    const auto& [y, u, v] = picture.planes;
    const bool halfDown = picture.layout == Layout::I420 || picture.layout == Layout::NV12;
    const auto rows = static_cast<std::size_t>(target.height);
    const auto colourRows = static_cast<std::size_t>(halfDown ? halved(target.height) : target.height);
    const int across = picture.layout == Layout::I444 ? target.width : halved(target.width);
    auto* const scaledY = scratch(3, static_cast<std::size_t>(target.width) * rows);
    int status = -1;
    if (picture.layout == Layout::NV12) {
        auto* const scaledUV = scratch(4, static_cast<std::size_t>(across) * 2 * colourRows);
        status = libyuv::NV12Scale(y.data, y.bytesPerRow, u.data, u.bytesPerRow, picture.width, picture.height, scaledY,
            target.width, scaledUV, across * 2, target.width, target.height, filter);
        picture.planes = { { { scaledY, target.width }, { scaledUV, across * 2 }, {} } };
    } else {
        auto* scaleThree = libyuv::I420Scale;
        if (picture.layout == Layout::I422)
            scaleThree = libyuv::I422Scale;
        else if (picture.layout == Layout::I444)
            scaleThree = libyuv::I444Scale;
        auto* const scaledU = scratch(4, static_cast<std::size_t>(across) * colourRows);
        auto* const scaledV = scratch(5, static_cast<std::size_t>(across) * colourRows);
        status = scaleThree(y.data, y.bytesPerRow, u.data, u.bytesPerRow, v.data, v.bytesPerRow, picture.width,
            picture.height, scaledY, target.width, scaledU, across, scaledV, across, target.width, target.height,
            filter);
        picture.planes = { { { scaledY, target.width }, { scaledU, across }, { scaledV, across } } };
    }
    picture.width = target.width;
    picture.height = target.height;
    return status == 0;
}

std::uint8_t* VideoFrameConverter::scratch(int index, std::size_t size)
{
    auto& memory = mScratch[static_cast<std::size_t>(index)];
    // Whole vectors may be read and written past the end of the last row.
    if (memory.size() < size + 64)
        memory.resize(size + 64);
    return memory.data();
}
