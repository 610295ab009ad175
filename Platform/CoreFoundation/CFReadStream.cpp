#include "Platform/CoreFoundation/CFReadStream.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostFiles.h"

#include <fstream>
#include <iterator>

CFTypeID CFURLGetTypeID()
{
    static const CFTypeID identifier = CFRegisterType("CFURL");
    return identifier;
}

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

CFTypeID CFReadStreamGetTypeID()
{
    static const CFTypeID identifier = CFRegisterType("CFReadStream");
    return identifier;
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
    std::ifstream file(mPath, std::ios::binary);
    if (!file)
        return false;
    mContents.assign(std::istreambuf_iterator<char>(file), {});
    return !file.bad();
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
