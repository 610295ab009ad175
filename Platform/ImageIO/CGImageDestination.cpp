#include "Platform/ImageIO/CGImageDestination.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSURL.h"

#include <png.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

bool isOpaque(const CGImage& image)
{
    for (std::size_t y = 0; y < image.height(); ++y) {
        const auto* const row = image.row(y);
        for (std::size_t x = 0; x < image.width(); ++x)
            if (row[4 * x + 3] != std::byte { 255 })
                return false;
    }
    return true;
}

/// Files hold straight alpha.
std::uint8_t straight(std::uint8_t part, std::uint8_t alpha)
{
    return alpha == 0 ? std::uint8_t { 0 } : static_cast<std::uint8_t>(std::min(255, (part * 255 + alpha / 2) / alpha));
}

/// Rows of \p image without gaps, three or four bytes a pixel in the order red, green, blue and alpha.
std::vector<std::uint8_t> packedRows(const CGImage& image, bool withAlpha)
{
    const std::size_t red = image.bitmapInfo() == kCGBitmapInfoRGBA ? 0 : 2;
    const std::size_t parts = withAlpha ? 4 : 3;
    std::vector<std::uint8_t> rows(image.width() * image.height() * parts);
    auto* target = rows.data();
    for (std::size_t y = 0; y < image.height(); ++y) {
        const auto* source = reinterpret_cast<const std::uint8_t*>(image.row(y));
        for (std::size_t x = 0; x < image.width(); ++x, source += 4, target += parts) {
            const auto alpha = withAlpha ? source[3] : std::uint8_t { 255 };
            target[0] = straight(source[red], alpha);
            target[1] = straight(source[1], alpha);
            target[2] = straight(source[2 - red], alpha);
            if (withAlpha)
                target[3] = alpha;
        }
    }
    return rows;
}

/// \return what went wrong, nothing when all went well
std::string writePNG(const CGImage& image, std::FILE* file)
{
    const bool withAlpha = !isOpaque(image);
    const auto rows = packedRows(image, withAlpha);
    png_image description {};
    description.version = PNG_IMAGE_VERSION;
    description.width = static_cast<png_uint_32>(image.width());
    description.height = static_cast<png_uint_32>(image.height());
    description.format = withAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
    // The caller waits, often with the picture on the screen standing still: quick beats small.
    description.flags = PNG_IMAGE_FLAG_FAST;
    if (!png_image_write_to_stdio(&description, file, 0, rows.data(), 0, nullptr))
        return description.message;
    return {};
}

}

CFTypeID CGImageDestination::typeID() const noexcept
{
    return CGImageDestinationGetTypeID();
}

bool CGImageDestination::finalize()
{
    if (!mImage)
        return false;
    const auto temporary = mPath + ".part";
    std::string failure;
    if (File file { std::fopen(temporary.c_str(), "wbe") }) {
        failure = writePNG(*mImage, file.get());
        if (std::fclose(file.release()) != 0 && failure.empty())
            failure = std::strerror(errno);
    } else {
        failure = std::strerror(errno);
    }
    if (failure.empty() && std::rename(temporary.c_str(), mPath.c_str()) != 0)
        failure = std::strerror(errno);
    if (failure.empty())
        return true;
    NSLog(CFSTR("%s could not be written: %s"), mPath.c_str(), failure.c_str());
    std::remove(temporary.c_str());
    return false;
}

Ref<CGImageDestination> CGImageDestinationCreateWithURL(
    NSURL* url, CFString* type, std::size_t count, CFDictionary* /*options*/)
{
    if (!url || !CFEqual(type, kUTTypePNG) || count != 1 || FAIL_POINT("CGImageDestinationCreateWithURL"))
        return nullptr;
    return make<CGImageDestination>(url->fileSystemRepresentation());
}

void CGImageDestinationAddImage(CGImageDestinationRef destination, CGImageRef image, CFDictionary* /*properties*/)
{
    if (destination)
        destination->addImage(image);
}

bool CGImageDestinationFinalize(CGImageDestinationRef destination)
{
    if (!destination || FAIL_POINT("CGImageDestinationFinalize"))
        return false;
    return destination->finalize();
}
