#include "Platform/AVFoundation/AVAssetWriterPictureConverter.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace {

// BT.709 scaled to 219 (brightness) and 224 (colour) steps, in 1/256; the sums are 220 and 0.
constexpr int yBlue = 16, yGreen = 157, yRed = 47;
constexpr int uBlue = 112, uGreen = -86, uRed = -26;
constexpr int vBlue = -10, vGreen = -102, vRed = 112;

std::uint8_t brightness(const std::uint8_t* pixel)
{
    return static_cast<std::uint8_t>(((yBlue * pixel[0] + yGreen * pixel[1] + yRed * pixel[2] + 128) >> 8) + 16);
}

int mean(int a, int b)
{
    return (a + b + 1) >> 1;
}

/// Rows \p upper and \p lower from column \p x on.
void convertRowsPlain(const std::uint8_t* upper, const std::uint8_t* lower, int x, int width, std::uint8_t* yUpper,
    std::uint8_t* yLower, std::uint8_t* u, std::uint8_t* v)
{
    for (; x < width; x += 2) {
        const std::uint8_t* const a = upper + 4 * x;
        const std::uint8_t* const b = lower + 4 * x;
        yUpper[x] = brightness(a);
        yUpper[x + 1] = brightness(a + 4);
        yLower[x] = brightness(b);
        yLower[x + 1] = brightness(b + 4);
        const int blue = mean(mean(a[0], b[0]), mean(a[4], b[4]));
        const int green = mean(mean(a[1], b[1]), mean(a[5], b[5]));
        const int red = mean(mean(a[2], b[2]), mean(a[6], b[6]));
        u[x / 2] = static_cast<std::uint8_t>(((uBlue * blue + uGreen * green + uRed * red + 128) >> 8) + 128);
        v[x / 2] = static_cast<std::uint8_t>(((vBlue * blue + vGreen * green + vRed * red + 128) >> 8) + 128);
    }
}

#if defined(__x86_64__)

#define WITH_AVX2 __attribute__((target("avx2")))

/// Four bytes of coefficients, one for each byte of a pixel.
WITH_AVX2 __m256i coefficients(int blue, int green, int red)
{
    return _mm256_set1_epi32((blue & 255) | (green & 255) << 8 | (red & 255) << 16);
}

/// 32 pixels, as four vectors of eight, to 32 bytes of brightness.
WITH_AVX2 __m256i brightnessOf(const __m256i* pixels)
{
    // The products of unsigned coefficients with pixels moved to -128...127 fit into 16 bits; the bias moves them back
    // (128 * 220), rounds, and adds the 16 that black is.
    const __m256i factors = coefficients(yBlue, yGreen, yRed);
    const __m256i middle = _mm256_set1_epi8(-128);
    const __m256i bias = _mm256_set1_epi16(static_cast<short>(128 * 220 + 128 + 16 * 256));
    __m256i sums[4];
    for (int index = 0; index < 4; ++index)
        sums[index] = _mm256_maddubs_epi16(factors, _mm256_xor_si256(pixels[index], middle));
    const __m256i low = _mm256_srli_epi16(_mm256_add_epi16(_mm256_hadd_epi16(sums[0], sums[1]), bias), 8);
    const __m256i high = _mm256_srli_epi16(_mm256_add_epi16(_mm256_hadd_epi16(sums[2], sums[3]), bias), 8);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), order);
}

/// Eight pixels of two rows' means in each of two vectors to eight means of pairs.
WITH_AVX2 __m256i pairMeans(__m256i a, __m256i b)
{
    const __m256 x = _mm256_castsi256_ps(a);
    const __m256 y = _mm256_castsi256_ps(b);
    return _mm256_avg_epu8(
        _mm256_castps_si256(_mm256_shuffle_ps(x, y, 0x88)), _mm256_castps_si256(_mm256_shuffle_ps(x, y, 0xDD)));
}

WITH_AVX2 __m256i colourOf(__m256i first, __m256i second, __m256i factors)
{
    const __m256i sums = _mm256_hadd_epi16(_mm256_maddubs_epi16(first, factors), _mm256_maddubs_epi16(second, factors));
    return _mm256_srli_epi16(_mm256_add_epi16(sums, _mm256_set1_epi16(static_cast<short>(0x8080))), 8);
}

/// As many columns as come in groups of 32. \return the first column left over
WITH_AVX2 int convertRowsAVX2(const std::uint8_t* upper, const std::uint8_t* lower, int width, std::uint8_t* yUpper,
    std::uint8_t* yLower, std::uint8_t* u, std::uint8_t* v)
{
    const __m256i uFactors = coefficients(uBlue, uGreen, uRed);
    const __m256i vFactors = coefficients(vBlue, vGreen, vRed);
    int x = 0;
    for (; x + 32 <= width; x += 32) {
        __m256i a[4], b[4], means[4];
        for (int index = 0; index < 4; ++index) {
            a[index] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(upper + 4 * x) + index);
            b[index] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lower + 4 * x) + index);
            means[index] = _mm256_avg_epu8(a[index], b[index]);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(yUpper + x), brightnessOf(a));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(yLower + x), brightnessOf(b));
        const __m256i first = pairMeans(means[0], means[1]);
        const __m256i second = pairMeans(means[2], means[3]);
        // In each half: eight bytes of u, then eight of v, whose pairs the other half continues.
        const __m256i packed
            = _mm256_packus_epi16(colourOf(first, second, uFactors), colourOf(first, second, vFactors));
        const __m128i low = _mm256_castsi256_si128(packed);
        const __m128i high = _mm256_extracti128_si256(packed, 1);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(u + x / 2), _mm_unpacklo_epi16(low, high));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(v + x / 2), _mm_unpackhi_epi16(low, high));
    }
    return x;
}

bool hasAVX2()
{
    static const bool answer = __builtin_cpu_supports("avx2");
    return answer;
}

#else

int convertRowsAVX2(
    const std::uint8_t*, const std::uint8_t*, int, std::uint8_t*, std::uint8_t*, std::uint8_t*, std::uint8_t*)
{
    return 0;
}

constexpr bool hasAVX2()
{
    return false;
}

#endif

void convert(const std::uint8_t* bgra, std::ptrdiff_t stride, int width, int height, const AVAssetWriterPlanes& planes,
    bool withVectors)
{
    for (int row = 0; row + 1 < height; row += 2) {
        const std::uint8_t* const upper = bgra + row * stride;
        const std::uint8_t* const lower = upper + stride;
        std::uint8_t* const yUpper = planes.y + row * planes.yStride;
        std::uint8_t* const yLower = yUpper + planes.yStride;
        std::uint8_t* const u = planes.u + row / 2 * planes.uvStride;
        std::uint8_t* const v = planes.v + row / 2 * planes.uvStride;
        const int done = withVectors ? convertRowsAVX2(upper, lower, width, yUpper, yLower, u, v) : 0;
        convertRowsPlain(upper, lower, done, width, yUpper, yLower, u, v);
    }
}

}

void AVAssetWriterConvertToI420(
    const std::uint8_t* bgra, std::ptrdiff_t stride, int width, int height, const AVAssetWriterPlanes& planes)
{
    convert(bgra, stride, width, height, planes, hasAVX2());
}

void AVAssetWriterConvertToI420Plain(
    const std::uint8_t* bgra, std::ptrdiff_t stride, int width, int height, const AVAssetWriterPlanes& planes)
{
    convert(bgra, stride, width, height, planes, false);
}
