#pragma once

#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/IOSurface/IOSurface.h"

#include <memory>

using CVReturn = std::int32_t;
using CVOptionFlags = std::uint64_t;

inline constexpr CVReturn kCVReturnSuccess = 0;
inline constexpr CVReturn kCVReturnError = -6660;
inline constexpr CVReturn kCVReturnInvalidArgument = -6661;
inline constexpr CVReturn kCVReturnAllocationFailed = -6662;
inline constexpr CVReturn kCVReturnInvalidPixelFormat = -6680;
inline constexpr CVReturn kCVReturnInvalidSize = -6681;
inline constexpr CVReturn kCVReturnWouldExceedAllocationThreshold = -6689;

/// Four bytes a pixel, blue first.
inline constexpr OSType kCVPixelFormatType_32BGRA = 0x42475241;
inline constexpr OSType kCVPixelFormatType_32ARGB = 32;

inline CFString* const kCVPixelBufferPixelFormatTypeKey = CFSTR("PixelFormatType");
inline CFString* const kCVPixelBufferWidthKey = CFSTR("Width");
inline CFString* const kCVPixelBufferHeightKey = CFSTR("Height");
inline CFString* const kCVPixelBufferIOSurfacePropertiesKey = CFSTR("IOSurfaceProperties");
inline CFString* const kCVPixelBufferMetalCompatibilityKey = CFSTR("MetalCompatibility");
inline CFString* const kCVPixelBufferOpenGLCompatibilityKey = CFSTR("OpenGLCompatibility");
inline CFString* const kCVPixelBufferCGBitmapContextCompatibilityKey = CFSTR("CGBitmapContextCompatibility");
inline CFString* const kCVPixelBufferPoolAllocationThresholdKey = CFSTR("PoolAllocationThreshold");

/// One picture in memory: 32 bits a pixel, sRGB, rows from the top. With the attribute
/// `kCVPixelBufferIOSurfacePropertiesKey` it lies in a surface, otherwise in plain memory.
class CVPixelBuffer final : public CFType {
public:
    /// Over a surface; the surface returns to its pool, if any, when the buffer dies.
    CVPixelBuffer(Ref<IOSurface> surface, std::shared_ptr<void> poolTicket = nullptr);
    CVPixelBuffer(std::size_t width, std::size_t height, OSType pixelFormat, std::size_t bytesPerRow);
    ~CVPixelBuffer() override;

    std::size_t width() const noexcept { return mWidth; }
    std::size_t height() const noexcept { return mHeight; }
    std::size_t bytesPerRow() const noexcept { return mBytesPerRow; }
    OSType pixelFormat() const noexcept { return mPixelFormat; }
    IOSurface* surface() const noexcept { return mSurface; }
    std::byte* baseAddress() const noexcept { return mBase; }

    CFTypeID typeID() const noexcept override;
    std::string description() override;

private:
    const Ref<IOSurface> mSurface;
    const std::unique_ptr<std::byte[]> mMemory;
    std::byte* const mBase;
    const std::size_t mWidth;
    const std::size_t mHeight;
    const OSType mPixelFormat;
    const std::size_t mBytesPerRow;
    const std::shared_ptr<void> mPoolTicket;
};

using CVPixelBufferRef = CVPixelBuffer*;
using CVImageBufferRef = CVPixelBuffer*;

inline CFTypeID CVPixelBufferGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CVPixelBuffer" };
    return identifier.value();
}

/// A buffer of its own, outside any pool, with undefined pixels. Fail point "CVPixelBufferCreate".
/// \param width, height  pixels, 1 to 16384
/// \param pixelFormat  BGRA or format 32
/// \param attributes  may be null
/// \return kCVReturnInvalidSize, kCVReturnInvalidPixelFormat, kCVReturnAllocationFailed; \p result is then null
CVReturn CVPixelBufferCreate(CFAllocatorRef allocator, std::size_t width, std::size_t height, OSType pixelFormat,
    CFDictionary* attributes, Ref<CVPixelBuffer>* result);
/// One more reference, which is the caller's; null for null.
inline Ref<CVPixelBuffer> CVPixelBufferRetain(CVPixelBufferRef buffer)
{
    return Ref<CVPixelBuffer>(buffer);
}
/// Fail point "CVPixelBufferLockBaseAddress".
CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef buffer, CVOptionFlags flags);
/// Fail point "CVPixelBufferUnlockBaseAddress".
CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef buffer, CVOptionFlags flags);
/// Null for null, also at the fail point "CVPixelBufferGetBaseAddress".
void* CVPixelBufferGetBaseAddress(CVPixelBufferRef buffer);
std::size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef buffer);
std::size_t CVPixelBufferGetWidth(CVPixelBufferRef buffer);
std::size_t CVPixelBufferGetHeight(CVPixelBufferRef buffer);
OSType CVPixelBufferGetPixelFormatType(CVPixelBufferRef buffer);
/// Null for null and for a buffer without a surface.
IOSurfaceRef CVPixelBufferGetIOSurface(CVPixelBufferRef buffer);
