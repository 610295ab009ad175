#include "Platform/AVFoundation/VideoFrameColours.h"

#include <libyuv/row.h>

#include <array>
#include <cmath>

namespace {

using VideoFrameColours::Matrix;
using VideoFrameColours::Pairs;

/// The constants of the library, with the weight of the blue difference as the standard has it: the library's own is
/// cut to what once fitted into a signed byte, which makes blue up to 18 of 255 too weak with BT.709 and BT.2020.
struct ExactConstants {
    ExactConstants(const libyuv::YuvConstants& original, [[maybe_unused]] double blueWeight)
        : constants(original)
    {
#if defined(__x86_64__) || defined(__i386__)
        // In 64ths, for differences that use 224 values of 255. Every second byte belongs to the other difference.
        const auto weight = static_cast<std::uint8_t>(std::lround(2 * (1 - blueWeight) * 255.0 / 224.0 * 64.0));
        for (std::size_t index = 0; index < std::size(constants.kUVToB); index += 2)
            constants.kUVToB[index] = weight;
#endif
    }
    alignas(32) libyuv::YuvConstants constants;
};

using RowFunction = void (*)(const std::uint8_t*, std::uint8_t*, const libyuv::YuvConstants*, int);

/// The fastest function for one row that this processor has.
RowFunction rowFunction(Pairs order)
{
    const bool isYUY2 = order == Pairs::YUY2;
#if defined(HAS_YUY2TOARGBROW_AVX2)
    if (libyuv::TestCpuFlag(libyuv::kCpuHasAVX2))
        return isYUY2 ? libyuv::YUY2ToARGBRow_Any_AVX2 : libyuv::UYVYToARGBRow_Any_AVX2;
#endif
#if defined(HAS_YUY2TOARGBROW_SSSE3)
    if (libyuv::TestCpuFlag(libyuv::kCpuHasSSSE3))
        return isYUY2 ? libyuv::YUY2ToARGBRow_Any_SSSE3 : libyuv::UYVYToARGBRow_Any_SSSE3;
#endif
#if defined(HAS_YUY2TOARGBROW_NEON)
    if (libyuv::TestCpuFlag(libyuv::kCpuHasNEON))
        return isYUY2 ? libyuv::YUY2ToARGBRow_Any_NEON : libyuv::UYVYToARGBRow_Any_NEON;
#endif
    return isYUY2 ? libyuv::YUY2ToARGBRow_C : libyuv::UYVYToARGBRow_C;
}

}

const libyuv::YuvConstants& VideoFrameColours::constantsFor(Matrix matrix, bool isFullRange)
{
    if (isFullRange) {
        if (matrix == Matrix::BT2020)
            return libyuv::kYuvV2020Constants;
        return matrix == Matrix::BT709 ? libyuv::kYuvF709Constants : libyuv::kYuvJPEGConstants;
    }
    static const ExactConstants limited601(libyuv::kYuvI601Constants, 0.114);
    static const ExactConstants limited709(libyuv::kYuvH709Constants, 0.0722);
    static const ExactConstants limited2020(libyuv::kYuv2020Constants, 0.0593);
    if (matrix == Matrix::BT2020)
        return limited2020.constants;
    return matrix == Matrix::BT709 ? limited709.constants : limited601.constants;
}

void VideoFrameColours::convertPairs(Pairs order, const std::uint8_t* source, int sourceBytesPerRow,
    std::uint8_t* target, int targetBytesPerRow, const libyuv::YuvConstants& constants, int width, int height)
{
    const auto convertRow = rowFunction(order);
    for (int y = 0; y < height; ++y) {
        convertRow(source, target, &constants, width);
        source += sourceBytesPerRow;
        target += targetBytesPerRow;
    }
}
