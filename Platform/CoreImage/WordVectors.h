#pragma once

#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

/// Sixteen bytes or eight words at once. Compilers make poor code of these few operations when they are spelled in the
/// general form, so that processors with instructions for them are named.
namespace WordVectors {

using Words = std::uint16_t __attribute__((vector_size(16)));
using Bytes = std::uint8_t __attribute__((vector_size(16)));

template <class Vector> Vector loaded(const void* from)
{
    Vector result;
    std::memcpy(&result, from, sizeof result);
    return result;
}

template <class Vector> void store(void* to, Vector vector)
{
    std::memcpy(to, &vector, sizeof vector);
}

/// Every word is \p value.
inline Words filled(std::uint16_t value)
{
    return Words { value, value, value, value, value, value, value, value };
}

#ifdef __SSE2__

inline __m128i native(Words words)
{
    return reinterpret_cast<__m128i>(words);
}

/// The upper halves of the products.
inline Words highProducts(Words a, Words b)
{
    return reinterpret_cast<Words>(_mm_mulhi_epu16(native(a), native(b)));
}

/// Bytes 0 to 7, each as the upper half of a word.
inline Words lowerBytes(Bytes bytes)
{
    return reinterpret_cast<Words>(_mm_unpacklo_epi8(_mm_setzero_si128(), reinterpret_cast<__m128i>(bytes)));
}

/// Bytes 8 to 15 in the same way.
inline Words upperBytes(Bytes bytes)
{
    return reinterpret_cast<Words>(_mm_unpackhi_epi8(_mm_setzero_si128(), reinterpret_cast<__m128i>(bytes)));
}

/// The upper halves of sixteen words.
inline Bytes upperHalves(Words a, Words b)
{
    return reinterpret_cast<Bytes>(_mm_packus_epi16(_mm_srli_epi16(native(a), 8), _mm_srli_epi16(native(b), 8)));
}

/// The sum of the two halves of \p a, then that of \p b.
inline Words folded(Words a, Words b)
{
    return reinterpret_cast<Words>(_mm_unpacklo_epi64(native(a), native(b)))
        + reinterpret_cast<Words>(_mm_unpackhi_epi64(native(a), native(b)));
}

#else

inline Words highProducts(Words a, Words b)
{
    using WideWords = std::uint32_t __attribute__((vector_size(32)));
    const auto product = __builtin_convertvector(a, WideWords) * __builtin_convertvector(b, WideWords);
    return __builtin_convertvector(product >> 16, Words);
}

inline Words lowerBytes(Bytes bytes)
{
    Words result;
    for (int i = 0; i < 8; ++i)
        result[i] = static_cast<std::uint16_t>(bytes[i] << 8);
    return result;
}

inline Words upperBytes(Bytes bytes)
{
    Words result;
    for (int i = 0; i < 8; ++i)
        result[i] = static_cast<std::uint16_t>(bytes[i + 8] << 8);
    return result;
}

inline Bytes upperHalves(Words a, Words b)
{
    Bytes result;
    for (int i = 0; i < 8; ++i) {
        result[i] = static_cast<std::uint8_t>(a[i] >> 8);
        result[i + 8] = static_cast<std::uint8_t>(b[i] >> 8);
    }
    return result;
}

inline Words folded(Words a, Words b)
{
    Words result;
    for (int i = 0; i < 4; ++i) {
        result[i] = static_cast<std::uint16_t>(a[i] + a[i + 4]);
        result[i + 4] = static_cast<std::uint16_t>(b[i] + b[i + 4]);
    }
    return result;
}

#endif

}
