#pragma once

#include "Platform/AVFoundation/AVCaptureDeviceFormat.h"

#include <functional>
#include <memory>

class CaptureSource;
class CaptureSink;

enum AVCaptureDevicePosition : long {
    AVCaptureDevicePositionUnspecified = 0,
    AVCaptureDevicePositionBack = 1,
    AVCaptureDevicePositionFront = 2,
};

/// Posted on the main queue, about the device, when a camera or microphone has come.
inline CFString* const AVCaptureDeviceWasConnectedNotification = CFSTR("AVCaptureDeviceWasConnectedNotification");
/// Posted on the main queue, about the device, when a camera or microphone has gone.
inline CFString* const AVCaptureDeviceWasDisconnectedNotification = CFSTR("AVCaptureDeviceWasDisconnectedNotification");
/// Posted on the main queue, about nothing, when another microphone than before is the system's default one.
inline CFString* const AVCaptureDeviceDefaultMicrophoneChangedNotification
    = CFSTR("AVCaptureDeviceDefaultMicrophoneChangedNotification");

/// A camera or a microphone of the machine.
///
/// Cameras come from PipeWire and V4L2, microphones from PipeWire, PulseAudio and ALSA, each device once. What plays
/// sound is no microphone, and this system's own virtual camera is no camera. When the machine has no camera there is
/// one named "Test Picture" (see TestPictureCounter.h), and when it has no microphone there is one named "Silence";
/// each stands last in its list and goes as soon as a real one comes.
///
/// One device is one object for as long as it is attached. Any thread may use it.
class AVCaptureDevice : public NSObject {
    NS_OBJECT(AVCaptureDevice)
public:
    /// Makes what brings the device's samples to \p sink; called when a session opens the device.
    using SourceMaker = std::function<std::unique_ptr<CaptureSource>(CaptureSink& sink)>;

    /// What the host says about a device.
    struct Properties {
        std::string uniqueID;
        std::string localizedName; ///< empty where the host knows none; then the device's name is null
        std::string manufacturer;
        AVMediaType mediaType = AVMediaTypeVideo;
        AVCaptureDevicePosition position = AVCaptureDevicePositionUnspecified;
        std::vector<Ref<AVCaptureDeviceFormat>> formats;
        bool isColourless = false; ///< a camera that sees infrared, for recognising faces, not for pictures of them
    };
    AVCaptureDevice(Properties properties, SourceMaker makeSource);

    /// The devices of one kind, in the order in which they came, but the system's default microphone first and cameras
    /// without colours last; kept by the innermost pool. `AVMediaTypeMuxed` lists none: no host interface offers sound
    /// and picture as one device.
    ///
    /// The first call waits, two seconds at most, until the host has named what is attached.
    /// Fail points: "AVCaptureDevice.devicesWithMediaType" gives null; "AVCaptureDevice.none" takes every device away.
    static CFArray* devicesWithMediaType(AVMediaType mediaType);
    static AVCaptureDevice* deviceWithUniqueID(CFString* uniqueID);

    /// The same for one device each time it is attached. Kept by the innermost pool, as the names are.
    CFString* uniqueID() const;
    CFString* localizedName() const;
    CFString* manufacturer() const;
    AVCaptureDevicePosition position() const { return mProperties.position; }
    bool hasMediaType(AVMediaType mediaType) const;
    /// `AVCaptureDeviceFormat`s.
    CFArray* formats() const { return mFormats; }
    /// The format that a session at its preset asks for; null when the device tells none.
    AVCaptureDeviceFormat* activeFormat() const;
    /// Whether the device is still attached.
    bool isConnected() const;
    /// Whether it is "Test Picture" or "Silence", which stand in for devices that the machine has not got.
    bool isStandIn() const;

    std::unique_ptr<CaptureSource> makeSource(CaptureSink& sink) const;
    const Properties& properties() const noexcept { return mProperties; }
    std::string description() override;

private:
    const Properties mProperties;
    const Ref<CFArray> mFormats;
    const SourceMaker mMakeSource;
};
