#include "Platform/CoreVideo/CVPixelBuffer.h"

#include "Platform/CoreFoundation/FailPoint.h"

namespace {

constexpr std::size_t largestSide = 16384;

}

CVPixelBuffer::CVPixelBuffer(Ref<IOSurface> surface, std::shared_ptr<void> poolTicket)
    : mSurface(std::move(surface))
    , mBase(mSurface->baseAddress())
    , mWidth(mSurface->width())
    , mHeight(mSurface->height())
    , mPixelFormat(mSurface->pixelFormat())
    , mBytesPerRow(mSurface->bytesPerRow())
    , mPoolTicket(std::move(poolTicket))
{
}

CVPixelBuffer::CVPixelBuffer(std::size_t width, std::size_t height, OSType pixelFormat, std::size_t bytesPerRow)
    : mMemory(std::make_unique_for_overwrite<std::byte[]>(bytesPerRow * height))
    , mBase(mMemory.get())
    , mWidth(width)
    , mHeight(height)
    , mPixelFormat(pixelFormat)
    , mBytesPerRow(bytesPerRow)
{
}

CVPixelBuffer::~CVPixelBuffer() = default;

CFTypeID CVPixelBuffer::typeID() const noexcept
{
    return CVPixelBufferGetTypeID();
}

std::string CVPixelBuffer::description()
{
    return "<CVPixelBuffer " + std::to_string(mWidth) + "x" + std::to_string(mHeight) + ">";
}

CVReturn CVPixelBufferCreate(CFAllocatorRef /*allocator*/, std::size_t width, std::size_t height, OSType pixelFormat,
    CFDictionary* attributes, Ref<CVPixelBuffer>* result)
{
    *result = nullptr;
    if (const auto status = FAIL_POINT("CVPixelBufferCreate"))
        return *status;
    if (width == 0 || height == 0 || width > largestSide || height > largestSide)
        return kCVReturnInvalidSize;
    if (pixelFormat != kCVPixelFormatType_32BGRA && pixelFormat != kCVPixelFormatType_32ARGB)
        return kCVReturnInvalidPixelFormat;
    const AutoreleasePool pool;
    auto* const properties = attributes ? attributes->get<CFDictionary>(kCVPixelBufferIOSurfacePropertiesKey) : nullptr;
    if (!properties) {
        *result = make<CVPixelBuffer>(width, height, pixelFormat, width * 4);
        return kCVReturnSuccess;
    }
    auto surface = IOSurface::create(width, height, pixelFormat, 4, properties);
    if (!surface)
        return kCVReturnAllocationFailed;
    *result = make<CVPixelBuffer>(std::move(surface));
    return kCVReturnSuccess;
}

CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef buffer, CVOptionFlags /*flags*/)
{
    if (const auto status = FAIL_POINT("CVPixelBufferLockBaseAddress"))
        return *status;
    return buffer ? kCVReturnSuccess : kCVReturnInvalidArgument;
}

CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef buffer, CVOptionFlags /*flags*/)
{
    if (const auto status = FAIL_POINT("CVPixelBufferUnlockBaseAddress"))
        return *status;
    return buffer ? kCVReturnSuccess : kCVReturnInvalidArgument;
}

void* CVPixelBufferGetBaseAddress(CVPixelBufferRef buffer)
{
    return buffer && !FAIL_POINT("CVPixelBufferGetBaseAddress") ? buffer->baseAddress() : nullptr;
}

std::size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef buffer)
{
    return buffer ? buffer->bytesPerRow() : 0;
}

std::size_t CVPixelBufferGetWidth(CVPixelBufferRef buffer)
{
    return buffer ? buffer->width() : 0;
}

std::size_t CVPixelBufferGetHeight(CVPixelBufferRef buffer)
{
    return buffer ? buffer->height() : 0;
}

OSType CVPixelBufferGetPixelFormatType(CVPixelBufferRef buffer)
{
    return buffer ? buffer->pixelFormat() : 0;
}

IOSurfaceRef CVPixelBufferGetIOSurface(CVPixelBufferRef buffer)
{
    return buffer ? buffer->surface() : nullptr;
}
