#include "Platform/ImageIO/CGImageSource.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSLog.h"

#include <png.h>

#include <vector>

namespace {

constexpr png_uint_32 largestSide = 16384;

/// Frees what the decoder holds, whichever way the reading ends.
struct Decoder {
    png_image image {};
    Decoder() { image.version = PNG_IMAGE_VERSION; }
    ~Decoder() { png_image_free(&image); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
};

void premultiply(std::vector<std::byte>& pixels)
{
    for (std::size_t pixel = 0; pixel < pixels.size(); pixel += 4) {
        const auto alpha = static_cast<unsigned>(pixels[pixel + 3]);
        for (std::size_t part = pixel; part < pixel + 3; ++part)
            pixels[part] = static_cast<std::byte>((static_cast<unsigned>(pixels[part]) * alpha + 127) / 255);
    }
}

}

Ref<CGImage> CGImageCreateWithPNGData(std::span<const std::byte> data)
{
    if (FAIL_POINT("CGImageCreateWithPNGData"))
        return nullptr;
    Decoder decoder;
    auto& image = decoder.image;
    if (!png_image_begin_read_from_memory(&image, data.data(), data.size())) {
        NSLog(CFSTR("A picture could not be read: %s"), image.message);
        return nullptr;
    }
    if (image.width > largestSide || image.height > largestSide) {
        NSLog(CFSTR("A picture could not be read: %u x %u is too large"), image.width, image.height);
        return nullptr;
    }
    image.format = PNG_FORMAT_BGRA;
    const std::size_t bytesPerRow = std::size_t { image.width } * 4;
    const auto pixels = std::make_shared<std::vector<std::byte>>(bytesPerRow * image.height);
    if (!png_image_finish_read(&image, nullptr, pixels->data(), 0, nullptr)) {
        NSLog(CFSTR("A picture could not be read: %s"), image.message);
        return nullptr;
    }
    premultiply(*pixels);
    return make<CGImage>(image.width, image.height, bytesPerRow, kCGBitmapInfoBGRA,
        std::shared_ptr<const std::byte>(pixels, pixels->data()));
}
