#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOSystemExtensionController.h"

#include "Platform/Foundation/NSError.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOSystemExtensionControllerDelegate.h"

#include <gtest/gtest.h>

namespace {

class ExtensionListener : public NSObject, public ZVCMIOSystemExtensionControllerDelegate {
    NS_OBJECT(ExtensionListener)
public:
    void systemExtension_requestStatus(ZVCMIOSystemExtensionController*, NSString* text) override
    {
        status = text->string();
    }
    void systemExtension_requestError(ZVCMIOSystemExtensionController*, NSError* failure) override { error = failure; }
    std::string status;
    Ref<NSError> error;
};

NS_IMPLEMENTATION(ExtensionListener, NSObject)
{
    type.message("systemExtension:requestStatus:", &ExtensionListener::systemExtension_requestStatus);
}

}

TEST(ZVCMIOSystemExtensionController, ReportsTheBareResult)
{
    const AutoreleasePool pool;
    const auto controller = make<ZVCMIOSystemExtensionController>();
    const auto listener = make<ExtensionListener>();
    controller->setDelegate(listener);
    controller->request_didFinishWithResult(nullptr, OSSystemExtensionRequestCompleted);
    EXPECT_EQ(listener->status, "Extension 0");
    controller->request_didFinishWithResult(nullptr, OSSystemExtensionRequestWillCompleteAfterReboot);
    EXPECT_EQ(listener->status, "Extension 1");
}

TEST(ZVCMIOSystemExtensionController, AListenerWithoutTheOperationLosesTheError)
{
    const AutoreleasePool pool;
    const auto controller = make<ZVCMIOSystemExtensionController>();
    const auto listener = make<ExtensionListener>();
    controller->setDelegate(listener);
    controller->request_didFailWithError(nullptr, NSError::errorWithMessage(NSPOSIXErrorDomain, 1, "no").get());
    EXPECT_FALSE(listener->error);
}

TEST(ZVCMIOSystemExtensionController, ReplacesWhateverIsInstalled)
{
    EXPECT_EQ(make<ZVCMIOSystemExtensionController>()->request_actionForReplacingExtension_withExtension(
                  nullptr, nullptr, nullptr),
        OSSystemExtensionReplacementActionReplace);
}

TEST(ZVCMIOSystemExtensionController, WithoutAnIdentifierDoesNothing)
{
    const auto controller = make<ZVCMIOSystemExtensionController>();
    const auto listener = make<ExtensionListener>();
    controller->setDelegate(listener);
    controller->actionInstallExtension(nullptr);
    controller->actionRemoveExtension(nullptr);
    DispatchMain::drain();
    EXPECT_EQ(listener->status, "");
}
