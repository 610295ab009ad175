#include "Platform/Foundation/NSBundle.h"
#include "Tovrin09/Resources/TovrinIcons.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

namespace {

/// Fills the main bundle while the program is loaded. The icon's name is also the application's identifier, as desktop
/// files want it.
struct TovrinBundle {
    TovrinBundle()
    {
        auto* const bundle = NSBundle::mainBundle();
        bundle->setInfo("CFBundleIdentifier", "org.tovrin.Tovrin");
        bundle->setInfo("CFBundleName", "Tovrin");
        bundle->setInfo("CFBundleShortVersionString", "0.9.0");
        bundle->setInfo("CFBundleIconFile", "org.tovrin.Tovrin");
        bundle->setInfo("CMIOExtensionIdentifier", CMIOOutputViewController_CMIOExtension_BundleIdentifier->string());
        // The icon itself is the one that is drawn; the window has its choice of the others too.
        for (const auto& icon : tovrinIcons()) {
            const auto side = std::to_string(icon.size);
            const auto folder = icon.size == 256 ? "" : side + "x" + side + "/";
            bundle->addResource(folder + "org.tovrin.Tovrin.png", std::as_bytes(icon.bytes));
        }
    }
} const tovrinBundle;

}
