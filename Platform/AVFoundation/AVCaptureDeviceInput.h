#pragma once

#include "Platform/AVFoundation/AVCaptureDevice.h"
#include "Platform/Foundation/NSError.h"

inline CFString* const AVFoundationErrorDomain = CFSTR("AVFoundationErrorDomain");
inline constexpr CFIndex AVErrorUnknown = -11800;
inline constexpr CFIndex AVErrorDeviceNotConnected = -11814;
inline constexpr CFIndex AVErrorDeviceWasDisconnected = -11808;
inline constexpr CFIndex AVErrorMediaDiscontinuity = -11812;
inline constexpr CFIndex AVErrorDeviceInUseByAnotherApplication = -11815;
inline constexpr CFIndex AVErrorApplicationIsNotAuthorizedToUseDevice = -11852;
/// This host's own: the device is open and brings nothing.
inline constexpr CFIndex AVErrorDeviceNotResponding = -11899;

/// A device as the input of a session.
class AVCaptureDeviceInput : public NSObject {
    NS_OBJECT(AVCaptureDeviceInput)
public:
    explicit AVCaptureDeviceInput(AVCaptureDevice* device)
        : mDevice(device)
    {
    }
    /// \return null, with an error, for no device and for one that has gone; the device itself is opened by the
    /// session. Fail point "AVCaptureDeviceInput.initWithDevice".
    static Ref<AVCaptureDeviceInput> initWithDevice_error(AVCaptureDevice* device, Ref<NSError>* error);
    /// The same, kept by the innermost pool.
    static AVCaptureDeviceInput* deviceInputWithDevice_error(AVCaptureDevice* device, Ref<NSError>* error);

    AVCaptureDevice* device() const { return mDevice; }
    std::string description() override;

private:
    const Ref<AVCaptureDevice> mDevice;
};
