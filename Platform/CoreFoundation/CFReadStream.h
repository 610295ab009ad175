#pragma once

#include "Platform/CoreFoundation/CFString.h"

/// The address of a file.
class CFURL final : public CFType {
public:
    explicit CFURL(std::string path)
        : mPath(std::move(path))
    {
    }
    const std::string& path() const noexcept { return mPath; }
    CFTypeID typeID() const noexcept override;
    std::string description() override { return "file://" + mPath; }

private:
    const std::string mPath;
};

enum CFURLPathStyle : CFIndex { kCFURLPOSIXPathStyle = 0 };

inline CFTypeID CFURLGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CFURL" };
    return identifier.value();
}
/// \return null for a null path or where the platform fails ("CFURLCreateWithFileSystemPath")
Ref<CFURL> CFURLCreateWithFileSystemPath(
    CFAllocatorRef allocator, CFString* path, CFURLPathStyle style, bool isDirectory);

/// The contents of a file, read from its start. One thread at a time uses a stream.
class CFReadStream final : public CFType {
public:
    explicit CFReadStream(std::string path)
        : mPath(std::move(path))
    {
    }
    /// Reads the file, or the one that Platform makes at its path; says whether there is one.
    bool open();
    /// What was read; empty before `open`.
    const std::string& contents() const noexcept { return mContents; }
    CFTypeID typeID() const noexcept override;

private:
    const std::string mPath;
    std::string mContents;
};

inline CFTypeID CFReadStreamGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CFReadStream" };
    return identifier.value();
}
/// \return null for a null address or where the platform fails ("CFReadStreamCreateWithFile")
Ref<CFReadStream> CFReadStreamCreateWithFile(CFAllocatorRef allocator, CFURL* url);
/// \return whether the stream can be read; fails for a null stream, without the file, and at "CFReadStreamOpen"
bool CFReadStreamOpen(CFReadStream* stream);
