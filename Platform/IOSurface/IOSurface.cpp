#include "Platform/IOSurface/IOSurface.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <mutex>
#include <set>

namespace {

constexpr std::size_t rowAlignment = 64;
constexpr std::size_t largestSide = 16384;

/// The numbers of the surfaces that live here. Those that came from elsewhere have theirs from there, so that one may
/// occur twice. There until the process ends, as the last surface may be.
struct Identifiers {
    std::mutex lock;
    std::multiset<IOSurfaceID> inUse;
    IOSurfaceID last = 0;
};

Identifiers& identifiers()
{
    static auto* const all = std::make_unique<Identifiers>().release();
    return *all;
}

IOSurfaceID newIdentifier()
{
    auto& all = identifiers();
    const std::lock_guard guard(all.lock);
    // A test may have the numbers go on from somewhere else.
    if (const auto last = FAIL_POINT("IOSurface.identifier"))
        all.last = static_cast<IOSurfaceID>(*last);
    do {
        ++all.last;
    } while (all.last == 0 || all.inUse.contains(all.last));
    all.inUse.insert(all.last);
    return all.last;
}

}

Ref<IOSurface> IOSurface::create(
    std::size_t width, std::size_t height, OSType pixelFormat, std::size_t bytesPerElement, CFDictionary* properties)
{
    if (width == 0 || height == 0 || width > largestSide || height > largestSide || FAIL_POINT("IOSurfaceCreate"))
        return nullptr;
    const std::size_t bytesPerRow = (width * bytesPerElement + rowAlignment - 1) / rowAlignment * rowAlignment;
    auto memory = SurfaceMemory::create(bytesPerRow * height);
    if (!memory)
        return nullptr;
    auto surface = make<IOSurface>(std::move(memory), newIdentifier(), width, height, pixelFormat, bytesPerRow);
    if (properties)
        IOSurfaceSetValues(surface, properties);
    return surface;
}

Ref<IOSurface> IOSurface::adopt(int descriptor, IOSurfaceID identifier, std::size_t width, std::size_t height,
    OSType pixelFormat, std::size_t bytesPerRow)
{
    const bool sane = width > 0 && height > 0 && width <= largestSide && height <= largestSide
        && bytesPerRow >= width * 4 && bytesPerRow <= largestSide * 16;
    // More than any memory has, so that what is not sane is refused in the same way.
    auto memory = SurfaceMemory::adopt(descriptor, sane ? bytesPerRow * height : SIZE_MAX);
    if (!memory)
        return nullptr;
    {
        auto& all = identifiers();
        const std::lock_guard guard(all.lock);
        all.inUse.insert(identifier);
    }
    return make<IOSurface>(std::move(memory), identifier, width, height, pixelFormat, bytesPerRow);
}

IOSurface::IOSurface(std::unique_ptr<SurfaceMemory> memory, IOSurfaceID identifier, std::size_t width,
    std::size_t height, OSType pixelFormat, std::size_t bytesPerRow)
    : mMemory(std::move(memory))
    , mIdentifier(identifier)
    , mWidth(width)
    , mHeight(height)
    , mPixelFormat(pixelFormat)
    , mBytesPerRow(bytesPerRow)
{
}

IOSurface::~IOSurface()
{
    {
        auto& all = identifiers();
        const std::lock_guard guard(all.lock);
        all.inUse.erase(all.inUse.find(mIdentifier));
    }
    SurfaceMemory::giveBack(std::move(mMemory));
}

CFTypeID IOSurface::typeID() const noexcept
{
    return IOSurfaceGetTypeID();
}

std::string IOSurface::description()
{
    return "<IOSurface " + std::to_string(mIdentifier) + " " + std::to_string(mWidth) + "x" + std::to_string(mHeight)
        + ">";
}

IOSurfaceID IOSurfaceGetID(IOSurfaceRef surface)
{
    return surface ? surface->identifier() : 0;
}

Ref<CFDictionary> IOSurfaceCopyAllValues(IOSurfaceRef surface)
{
    if (!surface || FAIL_POINT("IOSurfaceCopyAllValues"))
        return nullptr;
    return surface->values()->copy();
}

void IOSurfaceSetValues(IOSurfaceRef surface, CFDictionary* values)
{
    if (!surface || !values)
        return;
    for (const auto& [key, value] : values->entries())
        surface->values()->set(key, value);
}
