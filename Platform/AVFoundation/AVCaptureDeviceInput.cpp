#include "Platform/AVFoundation/AVCaptureDeviceInput.h"

#include "Platform/CoreFoundation/FailPoint.h"

NS_IMPLEMENTATION(AVCaptureDeviceInput, NSObject)
{
    type.message("device", &AVCaptureDeviceInput::device);
    type.key("device", &AVCaptureDeviceInput::device);
}

Ref<AVCaptureDeviceInput> AVCaptureDeviceInput::initWithDevice_error(AVCaptureDevice* device, Ref<NSError>* error)
{
    if (const auto status = FAIL_POINT("AVCaptureDeviceInput.initWithDevice")) {
        NSErrorReturn(
            error, NSError::errorWithMessage(AVFoundationErrorDomain, *status, "The device cannot be opened."));
        return nullptr;
    }
    if (!device) {
        NSErrorReturn(error, NSError::errorWithMessage(AVFoundationErrorDomain, AVErrorUnknown, "There is no device."));
        return nullptr;
    }
    if (!device->isConnected()) {
        const auto message = "\"" + device->properties().localizedName + "\" is not attached any more.";
        NSErrorReturn(error, NSError::errorWithMessage(AVFoundationErrorDomain, AVErrorDeviceNotConnected, message));
        return nullptr;
    }
    return make<AVCaptureDeviceInput>(device);
}

AVCaptureDeviceInput* AVCaptureDeviceInput::deviceInputWithDevice_error(AVCaptureDevice* device, Ref<NSError>* error)
{
    return autorelease(initWithDevice_error(device, error));
}

std::string AVCaptureDeviceInput::description()
{
    return "input of " + mDevice->description();
}
