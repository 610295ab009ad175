#include "Platform/Foundation/NSBundle.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

extern const unsigned char tovrinIcon[];
extern const unsigned long tovrinIconSize;

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
        bundle->addResource("org.tovrin.Tovrin.png", std::as_bytes(std::span(tovrinIcon, tovrinIconSize)));
    }
} const tovrinBundle;

}
