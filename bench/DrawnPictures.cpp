#include "DrawnPictures.h"

#include "TestPictures.h"

#include <libyuv/convert_argb.h>

std::vector<Ref<CVPixelBuffer>> drawnPictures()
{
    TestPictures pictures;
    std::vector<Ref<CVPixelBuffer>> result;
    for (std::uint32_t number = 0; number < TestPictures::rate; ++number) {
        constexpr int width = TestPictures::width;
        constexpr int height = TestPictures::height;
        const auto* const y = pictures.picture(number).data();
        const auto* const u = y + width * height;
        Ref<CVPixelBuffer> buffer;
        CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, nullptr, &buffer);
        libyuv::I420ToARGB(y, width, u, width / 2, u + width * height / 4, width / 2,
            reinterpret_cast<std::uint8_t*>(buffer->baseAddress()), static_cast<int>(buffer->bytesPerRow()), width,
            height);
        result.push_back(buffer);
    }
    return result;
}
