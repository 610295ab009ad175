#include "Platform/CoreVideo/CVPixelBuffer.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

TEST(CVPixelBuffer, LiesInASurfaceOnlyWhenAsked)
{
    Ref<CVPixelBuffer> plain;
    ASSERT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 20, 10, kCVPixelFormatType_32BGRA, nullptr, &plain), 0);
    EXPECT_EQ(CVPixelBufferGetIOSurface(plain), nullptr);
    EXPECT_EQ(CVPixelBufferGetBytesPerRow(plain), 80U);
    const auto attributes = CFDictionary::create(
        { { kCVPixelBufferIOSurfacePropertiesKey, CFDictionary::create({ { CFSTR("k"), CFSTR("v") } }).get() } });
    Ref<CVPixelBuffer> surfaced;
    ASSERT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 20, 10, kCVPixelFormatType_32BGRA, attributes, &surfaced), 0);
    auto* const surface = CVPixelBufferGetIOSurface(surfaced);
    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(CVPixelBufferGetBaseAddress(surfaced), surface->baseAddress());
    const AutoreleasePool pool;
    EXPECT_EQ(surface->values()->objectForKey("k"), CFSTR("v"));
}

TEST(CVPixelBuffer, RefusesSizesAndFormatsWithTheirCodes)
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 0, 10, kCVPixelFormatType_32BGRA, nullptr, &buffer),
        kCVReturnInvalidSize);
    EXPECT_EQ(
        CVPixelBufferCreate(kCFAllocatorDefault, 10, 10, 0x61626364, nullptr, &buffer), kCVReturnInvalidPixelFormat);
    const FailPoint::Scope armed("CVPixelBufferCreate", -42);
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 10, 10, kCVPixelFormatType_32BGRA, nullptr, &buffer), -42);
    EXPECT_FALSE(buffer);
}

TEST(CVPixelBuffer, NullBuffersAnswerWithNothing)
{
    EXPECT_EQ(CVPixelBufferGetWidth(nullptr), 0U);
    EXPECT_EQ(CVPixelBufferGetHeight(nullptr), 0U);
    EXPECT_EQ(CVPixelBufferGetBaseAddress(nullptr), nullptr);
    EXPECT_EQ(CVPixelBufferGetIOSurface(nullptr), nullptr);
    EXPECT_EQ(CVPixelBufferGetPixelFormatType(nullptr), 0U);
    EXPECT_EQ(CVPixelBufferLockBaseAddress(nullptr, 0), kCVReturnInvalidArgument);
}
