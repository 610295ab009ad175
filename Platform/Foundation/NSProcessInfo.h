#pragma once

#include "Platform/Foundation/NSObject.h"

using NSInteger = long;

struct NSOperatingSystemVersion {
    NSInteger majorVersion = 0;
    NSInteger minorVersion = 0;
    NSInteger patchVersion = 0;
};

/// What the process asks about where it runs.
class NSProcessInfo : public NSObject {
    NS_OBJECT(NSProcessInfo)
public:
    /// The one object of the process; null where the platform fails ("NSProcessInfo"). From any thread.
    static NSProcessInfo* processInfo();
    /// The release of the running kernel (6.1.0-18-amd64 is 6, 1, 0). Numbers that it does not have are 0.
    NSOperatingSystemVersion operatingSystemVersion() const;

    /// The numbers at the start of \p release, which has the form of a kernel's release.
    static NSOperatingSystemVersion versionOfRelease(std::string_view release);
};
