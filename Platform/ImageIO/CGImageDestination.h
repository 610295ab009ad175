#pragma once

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/CoreGraphics/CGImage.h"

#include <string>

class NSURL;

/// The one file type that is written and read.
inline CFString* const kUTTypePNG = CFSTR("public.png");

/// Writes images to a file: takes them first, writes at `finalize`. For one thread at a time.
class CGImageDestination final : public CFType {
public:
    explicit CGImageDestination(std::string path)
        : mPath(std::move(path))
    {
    }
    void addImage(CGImageRef image) { mImage = image; }
    bool finalize();
    CFTypeID typeID() const noexcept override;

private:
    const std::string mPath;
    Ref<CGImage> mImage;
};

using CGImageDestinationRef = CGImageDestination*;

inline CFTypeID CGImageDestinationGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CGImageDestination" };
    return identifier.value();
}
/// \param type  kUTTypePNG
/// \param count  1
/// \param options  not used, may be null
/// \return null without a URL, for another type or count, and at the fail point "CGImageDestinationCreateWithURL".
/// Nothing is written yet.
Ref<CGImageDestination> CGImageDestinationCreateWithURL(
    NSURL* url, CFString* type, std::size_t count, CFDictionary* options);
/// \param properties  not used, may be null
void CGImageDestinationAddImage(CGImageDestinationRef destination, CGImageRef image, CFDictionary* properties);
/// Writes the file in one piece, so that readers never see half of it: 8 bits a part, sRGB, alpha only where a pixel is
/// not opaque. Takes 10 to 30 ms for a picture of 1280 by 720.
/// \return false without an image, when the file cannot be written (the reason is logged, and no file is left), and at
/// the fail point "CGImageDestinationFinalize"
bool CGImageDestinationFinalize(CGImageDestinationRef destination);
