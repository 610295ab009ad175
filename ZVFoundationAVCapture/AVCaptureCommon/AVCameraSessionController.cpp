#include "ZVFoundationAVCapture/AVCaptureCommon/AVCameraSessionController.h"

#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "WithRequirements/Requirements.h"

namespace {

const std::initializer_list<std::string_view> affectingSelectedVideoDeviceProvidesAudio { "selectedVideoDevice" };

}

NS_IMPLEMENTATION(AVCameraSessionController, NSObject)
{
    type.message("beginSessionConfiguration:", &AVCameraSessionController::beginSessionConfiguration);
    type.message("commitSessionConfiguration", &AVCameraSessionController::commitSessionConfiguration);
    type.message("sessionConfigurationWithBlock:", &AVCameraSessionController::sessionConfigurationWithBlock);
    type.message("session", &AVCameraSessionController::session);
    type.message("setSession:", &AVCameraSessionController::setSession);
    type.message("refreshAudioVideoInputDevices", &AVCameraSessionController::refreshAudioVideoInputDevices);
    type.message("selectedVideoDevice", &AVCameraSessionController::selectedVideoDevice);
    type.message("setSelectedVideoDevice:", &AVCameraSessionController::setSelectedVideoDevice);
    type.message("selectedAudioDevice", &AVCameraSessionController::selectedAudioDevice);
    type.message("setSelectedAudioDevice:", &AVCameraSessionController::setSelectedAudioDevice);
    type.message("selectedVideoDeviceProvidesAudio", &AVCameraSessionController::selectedVideoDeviceProvidesAudio);
    type.message("availableVideoInputDevices", &AVCameraSessionController::availableVideoInputDevices);
    type.message("availableAudioInputDevices", &AVCameraSessionController::availableAudioInputDevices);
    type.message("videoDevices", &AVCameraSessionController::videoDevices);
    type.message("audioDevices", &AVCameraSessionController::audioDevices);
    type.key("session", &AVCameraSessionController::session, &AVCameraSessionController::setSession);
    type.key("selectedVideoDevice", &AVCameraSessionController::selectedVideoDevice,
        &AVCameraSessionController::setSelectedVideoDevice);
    type.key("selectedAudioDevice", &AVCameraSessionController::selectedAudioDevice,
        &AVCameraSessionController::setSelectedAudioDevice);
    type.key("selectedVideoDeviceProvidesAudio", &AVCameraSessionController::selectedVideoDeviceProvidesAudio);
    type.key("videoDevices", &AVCameraSessionController::videoDevices);
    type.key("audioDevices", &AVCameraSessionController::audioDevices);
    type.key("availableVideoInputDevices", &AVCameraSessionController::availableVideoInputDevices);
    type.key("availableAudioInputDevices", &AVCameraSessionController::availableAudioInputDevices);
    type.dependentKey("selectedVideoDeviceProvidesAudio", affectingSelectedVideoDeviceProvidesAudio);
    type.outlet("outletSessionObserver", &AVCameraSessionController::outletSessionObserver,
        &AVCameraSessionController::setOutletSessionObserver);
}

CFString* AVCameraSessionController_NoCameraDeviceName = nullptr;

void AVCameraSessionController_NoCameraDeviceNameConstructor()
{
    const AutoreleasePool pool;
    auto* const text
        = NSBundle::mainBundle()->localizedStringForKey_value_table(CFSTR("No Camera"), CFSTR(""), nullptr);
    AVCameraSessionController_NoCameraDeviceName = CFSTR(textOf(text));
}

AVCameraSessionController::AVCameraSessionController()
{
    constructRecordingSession();
}

void AVCameraSessionController::setSession(AVCaptureSession* session)
{
    const NSKeyValueChange change(this, "session");
    _session.set(session);
}

void AVCameraSessionController::delegatedCapturingError(NSError* /*error*/) { }

void AVCameraSessionController::delegatedSessionConfigurationChanged()
{
    if (!outletSessionObserver())
        return;
    dispatch_async(dispatch_get_main_queue(), [weakSelf = WeakRef { this }] {
        const auto self = weakSelf.strongReference();
        auto* const observer
            = self ? kindOf<AVCapturingSessionObserverProtocol>(self->outletSessionObserver()) : nullptr;
        if (observer)
            observer->capturingSessionConfigurationChanged(self);
    });
}

void AVCameraSessionController::refreshAudioVideoInputDevices()
{
    delegatedSessionConfigurationChanged();
}

void AVCameraSessionController::refreshAvailableSessionPresetsForDevice(AVCaptureDevice* /*device*/)
{
    delegatedSessionConfigurationChanged();
}

bool AVCameraSessionController::addObserverForNotificationName_andBlock(
    CFString* name, std::function<void(NSNotification*)> block)
{
    auto* const center = NSNotificationCenter::defaultCenter();
    auto* const tokens = observers();
    if (!tokens || !center)
        return false;
    const auto token = center->addObserverForName_object_queue_usingBlock(
        name, session(), NSOperationQueue::mainQueue(), std::move(block));
    if (!token)
        return false;
    tokens->append(token);
    return true;
}

void AVCameraSessionController::connectSessionObservers()
{
    addObserverForNotificationName_andBlock(
        AVCaptureSessionRuntimeErrorNotification, [weakSelf = WeakRef { this }](NSNotification* notification) {
            const auto self = weakSelf.strongReference();
            auto* const userInfo = kindOf<CFDictionary>(notification->userInfo());
            if (self && userInfo)
                self->delegatedCapturingError(kindOf<NSError>(userInfo->objectForKey(AVCaptureSessionErrorKey)));
        });
    // The host posts these two about the device, and the observers ask for the session's: they are told nothing.
    for (auto* const name : { AVCaptureDeviceWasConnectedNotification, AVCaptureDeviceWasDisconnectedNotification }) {
        addObserverForNotificationName_andBlock(name, [weakSelf = WeakRef { this }](NSNotification*) {
            if (const auto self = weakSelf.strongReference())
                self->refreshAudioVideoInputDevices();
        });
    }
}

void AVCameraSessionController::removeSessionObservers()
{
    if (auto* const tokens = observers()) {
        for (const auto& token : tokens->values())
            NSNotificationCenter::defaultCenter()->removeObserver(kindOf<NSObject>(token));
    }
    setObservers(nullptr);
}

void AVCameraSessionController::constructRecordingSession()
{
    setSession(make<AVCaptureSession>().get());
    setObservers(CFArray::create().get());
    connectSessionObservers();
}

void AVCameraSessionController::destructRecordingSession()
{
    removeSessionObservers();
    setSession(nullptr);
    setObservers(nullptr);
}

void AVCameraSessionController::beginCapturingSessionWithVideoCaptureDevice(AVCaptureDevice* device)
{
    auto* const present = session();
    if (!isPresent(present))
        return;
    refreshAvailableSessionPresetsForDevice(device);
    present->startRunning();
}

void AVCameraSessionController::beginSessionConfiguration(AVCaptureSession* session)
{
    if (session)
        session->beginConfiguration();
}

void AVCameraSessionController::commitSessionConfiguration()
{
    if (auto* const present = session())
        present->commitConfiguration();
}

void AVCameraSessionController::sessionConfigurationWithBlock(const std::function<void(AVCaptureSession*)>& block)
{
    const Ref<AVCaptureSession> present(session());
    if (!present)
        return;
    std::exception_ptr held;
    try {
        beginSessionConfiguration(present);
        if (block)
            block(present);
        commitSessionConfiguration();
    } catch (const NSException& exception) {
        NSLog(CFSTR("sessionConfigurationWithBlock NSException:%@\n"), CFString::create(exception.reason()));
    } catch (...) {
        held = std::current_exception();
    }
    // Once more than begun, in every case: what the block may have left open is committed.
    commitSessionConfiguration();
    if (held)
        std::rethrow_exception(held);
    delegatedSessionConfigurationChanged();
}

bool AVCameraSessionController::sessionAddOutput(AVCaptureOutput* output)
{
    auto* const present = session();
    if (!isPresent(present) || !present->canAddOutput(output))
        return false;
    present->addOutput(output);
    delegatedSessionConfigurationChanged();
    return true;
}

void AVCameraSessionController::updateSessionPresetForSelectedDevice(AVCaptureDevice* /*device*/)
{
    delegatedSessionConfigurationChanged();
}

AVCaptureDevice* AVCameraSessionController::selectedVideoDevice()
{
    return nullptr;
}

void AVCameraSessionController::setSelectedVideoDevice(AVCaptureDevice* /*device*/)
{
    delegatedSessionConfigurationChanged();
}

AVCaptureDevice* AVCameraSessionController::selectedAudioDevice()
{
    return nullptr;
}

void AVCameraSessionController::setSelectedAudioDevice(AVCaptureDevice* /*device*/) { }

bool AVCameraSessionController::selectedVideoDeviceProvidesAudio()
{
    auto* const device = selectedVideoDevice();
    return device && (device->hasMediaType(AVMediaTypeMuxed) || device->hasMediaType(AVMediaTypeAudio));
}

CFArray* AVCameraSessionController::availableVideoInputDevices()
{
    return availableVideoInputDevicesOfClass();
}

AVCaptureDevice* AVCameraSessionController::videoDeviceInDefaultPosition()
{
    auto* const videoCaptureDevices = AVCaptureDevice::devicesWithMediaType(AVMediaTypeVideo);
    if (!videoCaptureDevices)
        return nullptr;
    if (!CFRequired(videoCaptureDevices->count() > 0, "videoCaptureDevices.count>0"))
        return nullptr;
    return kindOf<AVCaptureDevice>(videoCaptureDevices->objectAtIndex(0));
}

AVCaptureDevice* AVCameraSessionController::videoDeviceFaceTimeOrDeviceInDefaultPosition()
{
    auto* const videoCaptureDevices = AVCaptureDevice::devicesWithMediaType(AVMediaTypeVideo);
    if (!videoCaptureDevices)
        return nullptr;
    if (!CFRequired(videoCaptureDevices->count() > 0, "videoCaptureDevices.count>0"))
        return nullptr;
    auto* result = kindOf<AVCaptureDevice>(videoCaptureDevices->objectAtIndex(0));
    for (const auto& each : videoCaptureDevices->values()) {
        auto* const device = kindOf<AVCaptureDevice>(each);
        auto* const name = device ? device->localizedName() : nullptr;
        if (!name)
            continue;
        if (textOf(name).starts_with("FaceTime") || textOf(name).starts_with("iSight"))
            return device;
        if (textOf(device->manufacturer()).starts_with("Apple"))
            result = device;
    }
    return result;
}

AVCaptureDevice* AVCameraSessionController::videoDeviceWithPosition(AVCaptureDevicePosition position)
{
    auto* const devices = AVCaptureDevice::devicesWithMediaType(AVMediaTypeVideo);
    if (!devices)
        return nullptr;
    for (const auto& each : devices->values()) {
        auto* const device = kindOf<AVCaptureDevice>(each);
        if (device && device->position() == position)
            return device;
    }
    return nullptr;
}

AVCaptureDevice* AVCameraSessionController::audioDeviceInFirstPosition()
{
    auto* const audioDevices = AVCaptureDevice::devicesWithMediaType(AVMediaTypeAudio);
    if (!audioDevices)
        return nullptr;
    if (!CFRequired(audioDevices->count() > 0, "audioDevices.count>0"))
        return nullptr;
    return kindOf<AVCaptureDevice>(audioDevices->objectAtIndex(0));
}

CFArray* AVCameraSessionController::videoDevices()
{
    return availableVideoInputDevices();
}

CFArray* AVCameraSessionController::audioDevices()
{
    return availableAudioInputDevices();
}

Ref<NSSet> AVCameraSessionController::keyPathsForValuesAffectingSelectedVideoDeviceProvidesAudio()
{
    return make<NSSet>(affectingSelectedVideoDeviceProvidesAudio);
}

CFDictionary* AVCameraSessionController::defaultPixelBufferSettingsWithFormat(std::uint32_t format)
{
    const auto settings = make<CFDictionary>();
    // An array, where a dictionary would be expected: only its presence counts.
    settings->set(kCVPixelBufferIOSurfacePropertiesKey, CFArray::create().get());
    settings->set(kCVPixelBufferOpenGLCompatibilityKey, kCFBooleanTrue);
    settings->set(kCVPixelBufferMetalCompatibilityKey, kCFBooleanTrue);
    settings->set(kCVPixelBufferPixelFormatTypeKey, CFNumber::create(format).get());
    return autorelease(settings);
}

CFDictionary* AVCameraSessionController::defaultPixelBufferSettings()
{
    return defaultPixelBufferSettingsWithFormat(0x32767579); // '2vuy'
}

CFDictionary* AVCameraSessionController::defaultCompressedVideoSettings()
{
    return autorelease(make<CFDictionary>());
}

CFString* AVCameraSessionController::defaultSessionPreset()
{
    return AVCaptureSessionPreset1280x720;
}

CFArray* AVCameraSessionController::availableVideoInputDevicesOfClass()
{
    const auto result = CFArray::create();
    for (auto* const mediaType : { AVMediaTypeVideo, AVMediaTypeMuxed }) {
        auto* const devices = AVCaptureDevice::devicesWithMediaType(mediaType);
        if (!devices)
            continue;
        for (const auto& device : devices->values())
            result->append(device);
    }
    return autorelease(result);
}

CFArray* AVCameraSessionController::availableAudioInputDevicesOfClass()
{
    auto* const devices = AVCaptureDevice::devicesWithMediaType(AVMediaTypeAudio);
    return devices ? devices : autorelease(CFArray::create());
}
