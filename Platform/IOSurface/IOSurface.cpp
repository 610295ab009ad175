#include "Platform/IOSurface/IOSurface.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <cstdio>
#include <mutex>
#include <set>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

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

std::byte* mapped(int descriptor, std::size_t length)
{
    void* const address = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return address == MAP_FAILED ? nullptr : static_cast<std::byte*>(address);
}

}

Ref<IOSurface> IOSurface::create(
    std::size_t width, std::size_t height, OSType pixelFormat, std::size_t bytesPerElement, CFDictionary* properties)
{
    if (width == 0 || height == 0 || width > largestSide || height > largestSide || FAIL_POINT("IOSurfaceCreate"))
        return nullptr;
    const std::size_t bytesPerRow = (width * bytesPerElement + rowAlignment - 1) / rowAlignment * rowAlignment;
    const std::size_t length = bytesPerRow * height;
    const int descriptor = ::memfd_create("tovrin-surface", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (descriptor < 0)
        return nullptr;
    // Allocated now: a full memory file system must fail here and not as a fault on first touch.
    std::byte* base = nullptr;
    if (::posix_fallocate(descriptor, 0, static_cast<off_t>(length)) == 0
        && ::fcntl(descriptor, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0)
        base = mapped(descriptor, length);
    if (!base) {
        ::close(descriptor);
        return nullptr;
    }
    auto surface = make<IOSurface>(descriptor, base, length, newIdentifier(), width, height, pixelFormat, bytesPerRow);
    if (properties)
        IOSurfaceSetValues(surface, properties);
    return surface;
}

Ref<IOSurface> IOSurface::adopt(int descriptor, IOSurfaceID identifier, std::size_t width, std::size_t height,
    OSType pixelFormat, std::size_t bytesPerRow)
{
    constexpr int sizeSeals = F_SEAL_SHRINK | F_SEAL_GROW;
    struct stat status { };
    const bool sane = width > 0 && height > 0 && width <= largestSide && height <= largestSide
        && bytesPerRow >= width * 4 && bytesPerRow <= largestSide * 16;
    const int seals = ::fcntl(descriptor, F_GET_SEALS);
    std::byte* base = nullptr;
    if (sane && seals >= 0 && (seals & sizeSeals) == sizeSeals && ::fstat(descriptor, &status) == 0
        && static_cast<std::size_t>(status.st_size) >= bytesPerRow * height)
        base = mapped(descriptor, bytesPerRow * height);
    if (!base) {
        if (descriptor >= 0)
            ::close(descriptor);
        return nullptr;
    }
    {
        auto& all = identifiers();
        const std::lock_guard guard(all.lock);
        all.inUse.insert(identifier);
    }
    return make<IOSurface>(descriptor, base, bytesPerRow * height, identifier, width, height, pixelFormat, bytesPerRow);
}

IOSurface::IOSurface(int descriptor, std::byte* base, std::size_t length, IOSurfaceID identifier, std::size_t width,
    std::size_t height, OSType pixelFormat, std::size_t bytesPerRow)
    : mDescriptor(descriptor)
    , mBase(base)
    , mLength(length)
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
    ::munmap(mBase, mLength);
    ::close(mDescriptor);
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
