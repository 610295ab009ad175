#pragma once

#include "CoreLattice/ISFDocument.h"
#include "CoreLattice/LTCView.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

/// Pictures and compositions for tests.
namespace Pictures {

using Pixel = std::array<int, 3>; ///< red, green, blue

/// A picture whose pixels come from a function of column and row, rows counted from the top.
inline Ref<CVPixelBuffer> picture(
    std::size_t width, std::size_t height, const std::function<Pixel(std::size_t, std::size_t)>& pixel)
{
    Ref<CVPixelBuffer> result;
    EXPECT_EQ(CVPixelBufferCreate(nullptr, width, height, kCVPixelFormatType_32BGRA, nullptr, &result), 0);
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            auto* const bytes = result->baseAddress() + y * result->bytesPerRow() + x * 4;
            const auto [red, green, blue] = pixel(x, y);
            bytes[0] = static_cast<std::byte>(blue);
            bytes[1] = static_cast<std::byte>(green);
            bytes[2] = static_cast<std::byte>(red);
            bytes[3] = std::byte { 255 };
        }
    }
    return result;
}

inline Ref<CVPixelBuffer> plain(std::size_t width, std::size_t height, Pixel pixel)
{
    return picture(width, height, [=](std::size_t, std::size_t) { return pixel; });
}

inline Pixel pixelAt(CVPixelBuffer& picture, std::size_t x, std::size_t y)
{
    const auto* const bytes = picture.baseAddress() + y * picture.bytesPerRow() + x * 4;
    return { std::to_integer<int>(bytes[2]), std::to_integer<int>(bytes[1]), std::to_integer<int>(bytes[0]) };
}

/// A composition of this text, kept by the innermost pool; fails the test when it cannot be read.
inline QCComposition* composition(std::string_view source, std::string_view vertexSource = {})
{
    CoreLattice::CompositionError error;
    const auto document = CoreLattice::ISFDocument::parse(source, vertexSource, "test.fs", &error);
    EXPECT_NE(document, nullptr) << error.text();
    return document ? autorelease(make<QCComposition>(CFSTR("/test"), document)) : nullptr;
}

/// A view with the composition and, unless it is null, the picture at its picture input.
inline Ref<LTCView> view(std::string_view source, const Ref<CVPixelBuffer>& input, std::string_view vertexSource = {})
{
    auto result = make<LTCView>();
    result->loadComposition(composition(source, vertexSource));
    if (input)
        result->setValue_forInputKey(input, QCCompositionInputImageKey);
    return result;
}

inline Ref<CVPixelBuffer> output(LTCView& view)
{
    return kindOf<CVPixelBuffer>(view.valueForOutputKey_ofType(QCCompositionOutputImageKey, CFSTR("CVPixelBuffer")));
}

/// Renders once and gives the picture.
inline Ref<CVPixelBuffer> render(LTCView& view, double time = 0)
{
    EXPECT_TRUE(view.renderAtTime_arguments(time, nullptr));
    auto result = output(view);
    EXPECT_TRUE(result);
    return result;
}

}
