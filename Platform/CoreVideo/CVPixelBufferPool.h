#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <mutex>
#include <vector>

/// Hands out buffers of one size and format and takes their memory back when the last holder lets go, so that steady
/// running allocates nothing. Any thread may use it.
class CVPixelBufferPool final : public CFType {
public:
    CVPixelBufferPool(std::size_t width, std::size_t height, OSType pixelFormat, CFDictionary* attributes);
    ~CVPixelBufferPool() override;
    CFTypeID typeID() const noexcept override;

    /// \param threshold  most buffers in use at a time; 0 for no limit
    CVReturn createPixelBuffer(std::size_t threshold, Ref<CVPixelBuffer>* result);
    /// Buffers in use now.
    std::size_t countInUse() const;

    struct Shelf;

private:
    const std::shared_ptr<Shelf> mShelf;
};

using CVPixelBufferPoolRef = CVPixelBufferPool*;

inline CFTypeID CVPixelBufferPoolGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CVPixelBufferPool" };
    return identifier.value();
}
/// Fail point "CVPixelBufferPoolCreate". Reads format, width, height and surface properties of \p
/// pixelBufferAttributes.
CVReturn CVPixelBufferPoolCreate(CFAllocatorRef allocator, CFDictionary* poolAttributes,
    CFDictionary* pixelBufferAttributes, Ref<CVPixelBufferPool>* result);
/// Fail point "CVPixelBufferPoolCreatePixelBuffer".
CVReturn CVPixelBufferPoolCreatePixelBuffer(
    CFAllocatorRef allocator, CVPixelBufferPoolRef pool, Ref<CVPixelBuffer>* result);
/// With kCVPixelBufferPoolAllocationThresholdKey in \p auxAttributes:
/// kCVReturnWouldExceedAllocationThreshold when that many buffers are in use.
CVReturn CVPixelBufferPoolCreatePixelBufferWithAuxAttributes(
    CFAllocatorRef allocator, CVPixelBufferPoolRef pool, CFDictionary* auxAttributes, Ref<CVPixelBuffer>* result);
