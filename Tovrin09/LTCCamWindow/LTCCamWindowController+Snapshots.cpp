#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"

#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSPathUtilities.h"
#include "Platform/ImageIO/CGImageDestination.h"
#include "WithRequirements/Requirements.h"

Ref<NSURL> LTCCamWindowController::defaultPictureSavingFolderURL()
{
    const auto folders = NSSearchPathForDirectoriesInDomains(NSPicturesDirectory, NSUserDomainMask, true);
    return NSURL::fileURLWithPath(kindOf<CFString>(folders->objectAtIndex(0)));
}

Ref<NSURL> LTCCamWindowController::uniquePictureURLWithinFolderURL(NSURL* folderURL)
{
    // Always from 1, so that the number of a deleted picture is used again; numbers above 999 get more digits.
    for (std::uint32_t number = 1;; ++number) {
        const auto name = CFStringCreateWithFormat(CFSTR("Tovrin-%03u.png"), number);
        auto url = folderURL->URLByAppendingPathComponent(name);
        if (!url || !NSFileManager::defaultManager()->fileExistsAtPath(url->path()))
            return url;
    }
}

bool LTCCamWindowController::saveSnapshotImageToURL(NSURL* url)
{
    const auto view = outletQCView.strongReference();
    const auto imageRef = view ? view->copySnapshotCGImageRef() : nullptr;
    if (!CFRequiredTypeOf(imageRef, CGImageGetTypeID()))
        return false;
    const auto destinationRef = CGImageDestinationCreateWithURL(url, kUTTypePNG, 1, nullptr);
    if (!CFRequiredTypeOf(destinationRef, CGImageDestinationGetTypeID()))
        return false;
    CGImageDestinationAddImage(destinationRef, kindOf<CGImage>(imageRef), nullptr);
    return CFRequired(CGImageDestinationFinalize(destinationRef));
}

void LTCCamWindowController::actionButtonSavePNG(NSObject* /*sender*/)
{
    const auto folder = defaultPictureSavingFolderURL();
    if (!folder)
        return;
    const auto url = uniquePictureURLWithinFolderURL(folder);
    if (!url)
        return;
    if (CFRequired(saveSnapshotImageToURL(url), "[self saveSnapshotImageToURL:uniquePicturePathWithFolderURL]"))
        setRecentPhotoSnapshotURL(url);
}
