#pragma once

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/Foundation/NSObject.h"

#include <functional>

/// The desktop around the application. Main thread.
class NSWorkspace : public NSObject {
    NS_OBJECT(NSWorkspace)
public:
    static NSWorkspace* sharedWorkspace();
    /// Shows the files, selected, in the desktop's file manager; where none answers, opens their folder by its default
    /// program. Returns at once.
    /// \param urls  a list of `NSURL`s of files; others are left out
    void activateFileViewerSelectingURLs(CFArray* urls);

    using Reveal = std::function<void(const std::vector<std::string>& paths)>;
    /// How paths are shown, given by the owner of the desktop connection.
    void setReveal(Reveal reveal) { mReveal = std::move(reveal); }

private:
    Reveal mReveal;
};
