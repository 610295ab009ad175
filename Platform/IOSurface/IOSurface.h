#pragma once

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/IOSurface/SurfaceMemory.h"

#include <cstddef>
#include <cstdint>

using IOSurfaceID = std::uint32_t;

/// Memory for one picture that another process can map: a memfd whose size is sealed, mapped once for the life of the
/// surface. Rows start at `bytesPerRow` distances from the top.
class IOSurface final : public CFType {
public:
    /// \param width, height  pixels, above 0
    /// \param bytesPerElement  bytes of a pixel; a row takes the next multiple of 64 bytes
    /// \return null when the memory cannot be had, also at the fail point "IOSurfaceCreate"; at the fail point
    /// "IOSurface.identifier" the numbers go on behind its status
    static Ref<IOSurface> create(std::size_t width, std::size_t height, OSType pixelFormat, std::size_t bytesPerElement,
        CFDictionary* properties);
    /// Maps a surface that another process made.
    /// \param descriptor  the memfd, taken over in every case
    /// \param identifier  how the other process calls it
    /// \return null unless the descriptor is a memfd with its size sealed and large enough
    static Ref<IOSurface> adopt(int descriptor, IOSurfaceID identifier, std::size_t width, std::size_t height,
        OSType pixelFormat, std::size_t bytesPerRow);

    IOSurface(std::unique_ptr<SurfaceMemory> memory, IOSurfaceID identifier, std::size_t width, std::size_t height,
        OSType pixelFormat, std::size_t bytesPerRow);
    ~IOSurface() override;

    IOSurfaceID identifier() const noexcept { return mIdentifier; }
    std::size_t width() const noexcept { return mWidth; }
    std::size_t height() const noexcept { return mHeight; }
    std::size_t bytesPerRow() const noexcept { return mBytesPerRow; }
    std::size_t length() const noexcept { return mMemory->length(); }
    OSType pixelFormat() const noexcept { return mPixelFormat; }
    std::byte* baseAddress() const noexcept { return mMemory->base(); }
    /// The memfd; stays the surface's.
    int descriptor() const noexcept { return mMemory->descriptor(); }
    CFDictionary* values() const noexcept { return mValues; }

    CFTypeID typeID() const noexcept override;
    std::string description() override;

private:
    std::unique_ptr<SurfaceMemory> mMemory;
    const IOSurfaceID mIdentifier;
    const std::size_t mWidth;
    const std::size_t mHeight;
    const OSType mPixelFormat;
    const std::size_t mBytesPerRow;
    const Ref<CFDictionary> mValues = make<CFDictionary>();
};

using IOSurfaceRef = IOSurface*;

inline CFString* const kIOSurfaceIsGlobal = CFSTR("IOSurfaceIsGlobal");

inline CFTypeID IOSurfaceGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "IOSurface" };
    return identifier.value();
}
/// A number that no surface gets that is made here while this one lives, never 0 for one that is made here. 0 for null.
IOSurfaceID IOSurfaceGetID(IOSurfaceRef surface);
Ref<CFDictionary> IOSurfaceCopyAllValues(IOSurfaceRef surface);
void IOSurfaceSetValues(IOSurfaceRef surface, CFDictionary* values);
