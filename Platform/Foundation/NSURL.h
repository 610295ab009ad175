#pragma once

#include "Platform/Foundation/NSObject.h"

/// The address of a resource; here always that of a file. Unchanging.
class NSURL : public NSObject {
    NS_OBJECT(NSURL)
public:
    explicit NSURL(std::string path)
        : mPath(std::move(path))
    {
    }
    /// \param path  a path in the file system, made absolute against the working folder; null gives null
    static Ref<NSURL> fileURLWithPath(CFString* path);

    /// The path in the file system. Kept by the innermost pool.
    CFString* path() const { return autorelease(CFString::create(mPath)); }
    const std::string& fileSystemRepresentation() const noexcept { return mPath; }
    /// "file://" and the path, with what a URL cannot hold as "%XX". Kept by the innermost pool.
    CFString* absoluteString() const;
    CFString* lastPathComponent() const;
    bool isFileURL() const { return true; }
    Ref<NSURL> URLByAppendingPathComponent(CFString* component) const;
    Ref<NSURL> URLByDeletingLastPathComponent() const;

    bool isEqual(CFType* other) override;
    CFHashCode hash() override;
    std::string description() override;

private:
    const std::string mPath;
};
