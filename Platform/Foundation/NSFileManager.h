#pragma once

#include "Platform/Foundation/NSObject.h"

/// Looks at the user's files. Any thread may use it.
class NSFileManager : public NSObject {
    NS_OBJECT(NSFileManager)
public:
    static NSFileManager* defaultManager();

    /// Whether there is something of this name, a dangling link included: writing there would replace it.
    bool fileExistsAtPath(CFString* path);
};
