#include "Platform/CoreFoundation/CFReadStream.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostFiles.h"

#include <fstream>

CFTypeID CFURL::typeID() const noexcept
{
    return CFURLGetTypeID();
}

Ref<CFURL> CFURLCreateWithFileSystemPath(
    CFAllocatorRef /*allocator*/, CFString* path, CFURLPathStyle /*style*/, bool /*isDirectory*/)
{
    if (FAIL_POINT("CFURLCreateWithFileSystemPath") || !path)
        return nullptr;
    return make<CFURL>(path->string());
}

CFTypeID CFReadStream::typeID() const noexcept
{
    return CFReadStreamGetTypeID();
}

bool CFReadStream::open()
{
    if (auto made = HostFiles::contents(mPath)) {
        mContents = std::move(*made);
        return true;
    }
    std::ifstream file(HostFiles::location(mPath), std::ios::binary);
    std::string read;
    char piece[4096];
    // What can be opened can still be unreadable, a folder for one.
    while (file.read(piece, sizeof piece) || file.gcount() > 0)
        read.append(piece, static_cast<std::size_t>(file.gcount()));
    if (!file.eof() || file.bad())
        return false;
    mContents = std::move(read);
    return true;
}

Ref<CFReadStream> CFReadStreamCreateWithFile(CFAllocatorRef /*allocator*/, CFURL* url)
{
    if (FAIL_POINT("CFReadStreamCreateWithFile") || !url)
        return nullptr;
    return make<CFReadStream>(url->path());
}

bool CFReadStreamOpen(CFReadStream* stream)
{
    return !FAIL_POINT("CFReadStreamOpen") && stream && stream->open();
}
