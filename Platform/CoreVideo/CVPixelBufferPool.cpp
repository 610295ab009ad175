#include "Platform/CoreVideo/CVPixelBufferPool.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <algorithm>

/// The surfaces that nobody uses now. It outlives the pool while buffers are out.
struct CVPixelBufferPool::Shelf {
    std::size_t width;
    std::size_t height;
    OSType pixelFormat;
    Ref<CFDictionary> surfaceProperties;
    std::mutex lock;
    std::vector<Ref<IOSurface>> idle;
    std::size_t inUse = 0;
    bool poolLives = true;
};

namespace {

/// Surfaces kept for later use when a burst is over.
constexpr std::size_t mostIdle = 4;

/// Brings a surface back to the shelf when the buffer over it dies.
struct Ticket {
    std::shared_ptr<CVPixelBufferPool::Shelf> shelf;
    Ref<IOSurface> surface;
    Ticket(std::shared_ptr<CVPixelBufferPool::Shelf> from, Ref<IOSurface> lent)
        : shelf(std::move(from))
        , surface(std::move(lent))
    {
    }
    Ticket(const Ticket&) = delete;
    Ticket& operator=(const Ticket&) = delete;
    ~Ticket()
    {
        const std::lock_guard guard(shelf->lock);
        --shelf->inUse;
        if (shelf->poolLives && shelf->idle.size() < mostIdle)
            shelf->idle.push_back(std::move(surface));
    }
};

}

CVPixelBufferPool::CVPixelBufferPool(
    std::size_t width, std::size_t height, OSType pixelFormat, CFDictionary* attributes)
    : mShelf(std::make_shared<Shelf>())
{
    mShelf->width = width;
    mShelf->height = height;
    mShelf->pixelFormat = pixelFormat;
    if (attributes)
        mShelf->surfaceProperties = attributes->get<CFDictionary>(kCVPixelBufferIOSurfacePropertiesKey);
}

CVPixelBufferPool::~CVPixelBufferPool()
{
    const std::lock_guard guard(mShelf->lock);
    mShelf->poolLives = false;
    mShelf->idle.clear();
}

CFTypeID CVPixelBufferPool::typeID() const noexcept
{
    return CVPixelBufferPoolGetTypeID();
}

CVReturn CVPixelBufferPool::createPixelBuffer(std::size_t threshold, Ref<CVPixelBuffer>* result)
{
    *result = nullptr;
    Ref<IOSurface> surface;
    {
        const std::lock_guard guard(mShelf->lock);
        if (threshold != 0 && mShelf->inUse >= threshold)
            return kCVReturnWouldExceedAllocationThreshold;
        ++mShelf->inUse;
        // A layer may still show a surface whose buffer has gone.
        const auto free = std::find_if(mShelf->idle.begin(), mShelf->idle.end(),
            [](const Ref<IOSurface>& candidate) { return candidate->retainCount() == 1; });
        if (free != mShelf->idle.end()) {
            surface = std::move(*free);
            mShelf->idle.erase(free);
        }
    }
    if (!surface)
        surface
            = IOSurface::create(mShelf->width, mShelf->height, mShelf->pixelFormat, 4, mShelf->surfaceProperties.get());
    if (!surface) {
        const std::lock_guard guard(mShelf->lock);
        --mShelf->inUse;
        return kCVReturnAllocationFailed;
    }
    auto ticket = std::make_shared<Ticket>(mShelf, surface);
    *result = make<CVPixelBuffer>(std::move(surface), std::move(ticket));
    return kCVReturnSuccess;
}

std::size_t CVPixelBufferPool::countInUse() const
{
    const std::lock_guard guard(mShelf->lock);
    return mShelf->inUse;
}

namespace {

std::size_t numberFor(CFDictionary* dictionary, CFString* key)
{
    const auto* const number = dictionary ? dictionary->get<CFNumber>(key) : nullptr;
    return number && number->integerValue() > 0 ? static_cast<std::size_t>(number->integerValue()) : 0;
}

}

CVReturn CVPixelBufferPoolCreate(CFAllocatorRef /*allocator*/, CFDictionary* /*poolAttributes*/,
    CFDictionary* pixelBufferAttributes, Ref<CVPixelBufferPool>* result)
{
    *result = nullptr;
    if (const auto status = FAIL_POINT("CVPixelBufferPoolCreate"))
        return *status;
    const AutoreleasePool pool;
    const auto width = numberFor(pixelBufferAttributes, kCVPixelBufferWidthKey);
    const auto height = numberFor(pixelBufferAttributes, kCVPixelBufferHeightKey);
    const auto format = static_cast<OSType>(numberFor(pixelBufferAttributes, kCVPixelBufferPixelFormatTypeKey));
    if (width == 0 || height == 0)
        return kCVReturnInvalidSize;
    if (format != kCVPixelFormatType_32BGRA && format != kCVPixelFormatType_32ARGB)
        return kCVReturnInvalidPixelFormat;
    *result = make<CVPixelBufferPool>(width, height, format, pixelBufferAttributes);
    return kCVReturnSuccess;
}

CVReturn CVPixelBufferPoolCreatePixelBuffer(
    CFAllocatorRef allocator, CVPixelBufferPoolRef pool, Ref<CVPixelBuffer>* result)
{
    return CVPixelBufferPoolCreatePixelBufferWithAuxAttributes(allocator, pool, nullptr, result);
}

CVReturn CVPixelBufferPoolCreatePixelBufferWithAuxAttributes(
    CFAllocatorRef /*allocator*/, CVPixelBufferPoolRef pool, CFDictionary* auxAttributes, Ref<CVPixelBuffer>* result)
{
    *result = nullptr;
    if (const auto status = FAIL_POINT("CVPixelBufferPoolCreatePixelBuffer"))
        return *status;
    if (!pool)
        return kCVReturnInvalidArgument;
    const AutoreleasePool scope;
    return pool->createPixelBuffer(numberFor(auxAttributes, kCVPixelBufferPoolAllocationThresholdKey), result);
}
