#pragma once

#include "Platform/Foundation/NSError.h"

/// Looks at the user's files and removes them. Any thread may use it.
class NSFileManager : public NSObject {
    NS_OBJECT(NSFileManager)
public:
    static NSFileManager* defaultManager();

    /// Whether there is something of this name, a dangling link included: writing there would replace it.
    bool fileExistsAtPath(CFString* path);
    /// Moves the file to the desktop's trash, so that the user can have it back. A folder stays where it is: nobody who
    /// asks for a file's place means all that is in one.
    /// \return whether it has gone; \p error, which may be null, says why not. Fail point
    /// "NSFileManager.removeItemAtPath".
    bool removeItemAtPath_error(CFString* path, Ref<NSError>* error);
};
