#include "Platform/AppKit/NSWorkspace.h"

#include "Platform/Foundation/NSURL.h"

NS_IMPLEMENTATION(NSWorkspace, NSObject)
{
    type.message("activateFileViewerSelectingURLs:", &NSWorkspace::activateFileViewerSelectingURLs);
}

NSWorkspace* NSWorkspace::sharedWorkspace()
{
    static NSWorkspace* const workspace = [] {
        auto made = make<NSWorkspace>();
        made->makeImmortal();
        return made.get();
    }();
    return workspace;
}

void NSWorkspace::activateFileViewerSelectingURLs(CFArray* urls)
{
    std::vector<std::string> paths;
    if (urls)
        for (const auto& value : urls->values())
            if (const auto* const url = kindOf<NSURL>(value))
                paths.push_back(url->fileSystemRepresentation());
    if (mReveal && !paths.empty())
        mReveal(paths);
}
