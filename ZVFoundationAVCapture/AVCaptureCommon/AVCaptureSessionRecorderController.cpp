#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureSessionRecorderController.h"

#include "Platform/dispatch/dispatch.h"
#include "WithRequirements/Requirements.h"

namespace {

const std::initializer_list<std::string_view> affectingVideoDeviceNames { "videoDevices" };
const std::initializer_list<std::string_view> affectingSelectedVideoDeviceName { "videoDevices",
    "selectedVideoDevice" };

}

NS_IMPLEMENTATION(AVCaptureSessionRecorderController, NSObject)
{
    using Self = AVCaptureSessionRecorderController;
    type.message("delegate", &Self::delegate);
    type.message("setDelegate:", &Self::setDelegate);
    type.message("recorder", &Self::recorder);
    type.message("setRecorder:", &Self::setRecorder);
    type.message("capturingSessionUIChangedConnectedDevices:", &Self::capturingSessionUIChangedConnectedDevices);
    type.key("hasRecordingDevice", &Self::hasRecordingDevice);
    type.key("videoDevices", &Self::videoDevices);
    type.key("audioDevices", &Self::audioDevices);
    type.key("selectedVideoDevice", &Self::selectedVideoDevice, &Self::setSelectedVideoDevice);
    type.key("selectedVideoDeviceFormats", &Self::selectedVideoDeviceFormats, &Self::setSelectedVideoDeviceFormats);
    type.key("selectedVideoDeviceSupportedFrameRateRanges", &Self::selectedVideoDeviceSupportedFrameRateRanges,
        &Self::setSelectedVideoDeviceSupportedFrameRateRanges);
    type.key("selectedAudioDevice", &Self::selectedAudioDevice, &Self::setSelectedAudioDevice);
    type.key("selectedAudioDeviceFormats", &Self::selectedAudioDeviceFormats, &Self::setSelectedAudioDeviceFormats);
    type.key("selectedVideoDeviceProvidesAudio", &Self::selectedVideoDeviceProvidesAudio);
    type.key("videoDeviceNames", &Self::videoDeviceNames);
    type.key("selectedVideoDeviceName", &Self::selectedVideoDeviceName, &Self::setSelectedVideoDeviceName);
    type.key("videoDeviceFormat", &Self::videoDeviceFormat, &Self::setVideoDeviceFormat);
    type.key("audioDeviceFormat", &Self::audioDeviceFormat, &Self::setAudioDeviceFormat);
    type.key("frameRateRange", &Self::frameRateRange, &Self::setFrameRateRange);
    type.key("presets", &Self::presets, &Self::setPresets);
    type.message("setRecording:", &Self::setRecording);
    type.message("selectedAudioCaptureDeviceBindingChanged", &Self::selectedAudioCaptureDeviceBindingChanged);
    type.message("selectedVideoCaptureDeviceBindingChanged", &Self::selectedVideoCaptureDeviceBindingChanged);
    type.message("dispatchCoalescedBindingUpdateForVideoDeviceChange",
        &Self::dispatchCoalescedBindingUpdateForVideoDeviceChange);
    type.message("dispatchCoalescedBindingUpdateForAudioDeviceChange",
        &Self::dispatchCoalescedBindingUpdateForAudioDeviceChange);
    type.message("beginObservingVideoCaptureState", &Self::beginObservingVideoCaptureState);
    type.message("endObservingVideoCaptureState", &Self::endObservingVideoCaptureState);
    type.dependentKey("videoDeviceNames", affectingVideoDeviceNames);
    type.dependentKey("selectedVideoDeviceName", affectingSelectedVideoDeviceName);
    type.outlet("delegate", &Self::delegate, &Self::setDelegate);
    type.outlet("recorder", &Self::recorder, &Self::setRecorder);
}

namespace {

constexpr std::array<std::string_view, 10> videoKeys { "videoDevices", "videoDeviceNames", "selectedVideoDevice",
    "selectedVideoDeviceName", "selectedVideoDeviceFormats", "selectedVideoDeviceSupportedFrameRateRanges",
    "selectedVideoDeviceProvidesAudio", "audioDevices", "selectedAudioDevice", "selectedAudioDeviceFormats" };
constexpr std::array<std::string_view, 3> audioKeys { "audioDevices", "selectedAudioDevice",
    "selectedAudioDeviceFormats" };

}

AVCaptureSessionRecorderController::~AVCaptureSessionRecorderController()
{
    const AutoreleasePool pool;
    endObservingVideoCaptureState();
}

Ref<AVCameraSessionController> AVCaptureSessionRecorderController::sessionController() const
{
    return Ref(kindOf<AVCameraSessionController>(_weakDelegate.strongReferenceOrNil()));
}

CFArray* AVCaptureSessionRecorderController::videoDevices() const
{
    const auto controller = sessionController();
    return controller ? controller->videoDevices() : nullptr;
}

CFArray* AVCaptureSessionRecorderController::audioDevices() const
{
    const auto controller = sessionController();
    return controller ? controller->audioDevices() : nullptr;
}

AVCaptureDevice* AVCaptureSessionRecorderController::selectedVideoDevice() const
{
    const auto controller = sessionController();
    return controller ? controller->selectedVideoDevice() : nullptr;
}

void AVCaptureSessionRecorderController::setSelectedVideoDevice(AVCaptureDevice* device)
{
    const NSKeyValueChange change(this, "selectedVideoDevice");
    if (const auto controller = sessionController())
        controller->setSelectedVideoDevice(device);
}

CFArray* AVCaptureSessionRecorderController::selectedVideoDeviceFormats() const
{
    const auto* const device = selectedVideoDevice();
    return device ? device->formats() : nullptr;
}

void AVCaptureSessionRecorderController::setSelectedVideoDeviceFormats(CFArray* formats)
{
    const NSKeyValueChange change(this, "selectedVideoDeviceFormats");
    _selectedVideoDeviceFormats.set(formats);
}

CFArray* AVCaptureSessionRecorderController::selectedVideoDeviceSupportedFrameRateRanges() const
{
    const auto* const device = selectedVideoDevice();
    const auto* const format = device ? device->activeFormat() : nullptr;
    return format ? format->videoSupportedFrameRateRanges() : nullptr;
}

void AVCaptureSessionRecorderController::setSelectedVideoDeviceSupportedFrameRateRanges(CFArray* ranges)
{
    const NSKeyValueChange change(this, "selectedVideoDeviceSupportedFrameRateRanges");
    _selectedVideoDeviceSupportedFrameRateRanges.set(ranges);
}

AVCaptureDevice* AVCaptureSessionRecorderController::selectedAudioDevice() const
{
    const auto controller = sessionController();
    return controller ? controller->selectedAudioDevice() : nullptr;
}

void AVCaptureSessionRecorderController::setSelectedAudioDevice(AVCaptureDevice* device)
{
    const NSKeyValueChange change(this, "selectedAudioDevice");
    if (const auto controller = sessionController())
        controller->setSelectedAudioDevice(device);
}

CFArray* AVCaptureSessionRecorderController::selectedAudioDeviceFormats() const
{
    const auto* const device = selectedAudioDevice();
    return device ? device->formats() : nullptr;
}

void AVCaptureSessionRecorderController::setSelectedAudioDeviceFormats(CFArray* formats)
{
    const NSKeyValueChange change(this, "selectedAudioDeviceFormats");
    _selectedAudioDeviceFormats.set(formats);
}

bool AVCaptureSessionRecorderController::selectedVideoDeviceProvidesAudio() const
{
    const auto controller = sessionController();
    return controller && controller->selectedVideoDeviceProvidesAudio();
}

Ref<NSSet> AVCaptureSessionRecorderController::keyPathsForValuesAffectingVideoDeviceNames()
{
    return make<NSSet>(affectingVideoDeviceNames);
}

Ref<NSSet> AVCaptureSessionRecorderController::keyPathsForValuesAffectingSelectedVideoDeviceName()
{
    return make<NSSet>(affectingSelectedVideoDeviceName);
}

CFArray* AVCaptureSessionRecorderController::videoDeviceNames() const
{
    const auto names = CFArray::create();
    if (auto* const devices = videoDevices()) {
        for (const auto& each : devices->values()) {
            const auto* const device = kindOf<AVCaptureDevice>(each);
            if (auto* const name = device ? device->localizedName() : nullptr)
                names->append(name);
        }
    }
    return autorelease(names);
}

CFString* AVCaptureSessionRecorderController::selectedVideoDeviceName() const
{
    const auto* const device = selectedVideoDevice();
    return device ? device->localizedName() : AVCameraSessionController_NoCameraDeviceName;
}

void AVCaptureSessionRecorderController::setSelectedVideoDeviceName(CFString* name)
{
    if (!isPresent(name))
        return;
    const NSKeyValueChange change(this, "selectedVideoDeviceName");
    AVCaptureDevice* chosen = nullptr;
    const auto controller = sessionController();
    auto* const devices = controller ? controller->availableVideoInputDevices() : nullptr;
    const bool isNone
        = AVCameraSessionController_NoCameraDeviceName && CFEqual(name, AVCameraSessionController_NoCameraDeviceName);
    if (devices && !isNone) {
        for (const auto& each : devices->values()) {
            auto* const device = kindOf<AVCaptureDevice>(each);
            auto* const itsName = device ? device->localizedName() : nullptr;
            if (!chosen && itsName && CFEqual(itsName, name))
                chosen = device;
        }
    }
    setSelectedVideoDevice(chosen);
}

void AVCaptureSessionRecorderController::setVideoDeviceFormat(AVCaptureDeviceFormat* format)
{
    const NSKeyValueChange change(this, "videoDeviceFormat");
    _videoDeviceFormat.set(format);
}

void AVCaptureSessionRecorderController::setAudioDeviceFormat(AVCaptureDeviceFormat* format)
{
    const NSKeyValueChange change(this, "audioDeviceFormat");
    _audioDeviceFormat.set(format);
}

void AVCaptureSessionRecorderController::setFrameRateRange(AVFrameRateRange* range)
{
    const NSKeyValueChange change(this, "frameRateRange");
    _frameRateRange.set(range);
}

void AVCaptureSessionRecorderController::setPresets(CFArray* /*presets*/) { }

void AVCaptureSessionRecorderController::setRecording(bool /*recording*/)
{
    throw NSException(
        "Unimplemented methodunimplemented", CFFormat("%@ is not implemented", { CFSTR("setRecording:") }));
}

void AVCaptureSessionRecorderController::selectedAudioCaptureDeviceBindingChanged()
{
    for (const auto key : audioKeys)
        willChangeValueForKey(key);
    for (const auto key : audioKeys)
        didChangeValueForKey(key);
}

void AVCaptureSessionRecorderController::selectedVideoCaptureDeviceBindingChanged()
{
    for (const auto key : videoKeys)
        willChangeValueForKey(key);
    for (const auto key : videoKeys)
        didChangeValueForKey(key);
}

void AVCaptureSessionRecorderController::dispatchCoalescedBindingUpdateForVideoDeviceChange()
{
    // Nothing is brought together despite the name: one update for each change.
    raisePendingBindingUpdates();
    dispatch_async(dispatch_get_main_queue(), [self = Ref(this)] {
        self->selectedVideoCaptureDeviceBindingChanged();
        self->selectedAudioCaptureDeviceBindingChanged();
    });
}

void AVCaptureSessionRecorderController::dispatchCoalescedBindingUpdateForAudioDeviceChange()
{
    raisePendingBindingUpdates();
    dispatch_async(dispatch_get_main_queue(), [self = Ref(this)] { self->selectedAudioCaptureDeviceBindingChanged(); });
}

void AVCaptureSessionRecorderController::capturingSessionUIChangedConnectedDevices(NSObject* /*sender*/)
{
    willChangeValueForKey("videoDevices");
    willChangeValueForKey("audioDevices");
    didChangeValueForKey("videoDevices");
    didChangeValueForKey("audioDevices");
}

void AVCaptureSessionRecorderController::observeValueForKeyPath_ofObject_change_context(
    CFString* keyPath, NSObject* object, CFDictionary* /*change*/, const void* /*context*/)
{
    if (object != recorder())
        return;
    if (textOf(keyPath) == textOf(AVCameraSessionController_selectedAudioDevice))
        dispatchCoalescedBindingUpdateForAudioDeviceChange();
    else
        dispatchCoalescedBindingUpdateForVideoDeviceChange();
}

void AVCaptureSessionRecorderController::beginObservingVideoCaptureState()
{
    const Ref<NSObject> target(recorder());
    if (!isPresent(target.get()))
        return;
    if (!CFRequired(target->respondsToSelector("addObserver:forKeyPath:options:context:"),
            "[target respondsToSelector:@selector(addObserver:forKeyPath:options:context:)]"))
        return;
    try {
        target->addObserver_forKeyPath_options_context(
            this, textOf(AVCameraSessionController_selectedVideoDevice), 0, nullptr);
        selectedVideoCaptureDeviceBindingChanged();
        target->addObserver_forKeyPath_options_context(
            this, textOf(AVCameraSessionController_selectedAudioDevice), 0, nullptr);
        selectedAudioCaptureDeviceBindingChanged();
    } catch (const NSException&) {
        // What was observed so far stays observed.
    }
}

void AVCaptureSessionRecorderController::endObservingVideoCaptureState()
{
    const Ref<NSObject> target(recorder());
    if (!isPresent(target.get()))
        return;
    if (!CFRequired(target->respondsToSelector("removeObserver:forKeyPath:"),
            "[target respondsToSelector:@selector(removeObserver:forKeyPath:)]"))
        return;
    try {
        target->removeObserver_forKeyPath(this, textOf(AVCameraSessionController_selectedVideoDevice));
        target->removeObserver_forKeyPath(this, textOf(AVCameraSessionController_selectedAudioDevice));
    } catch (const NSException&) {
        // It was not observed.
    }
}

void AVCaptureSessionRecorderController::awakeFromNib()
{
    beginObservingVideoCaptureState();
}

std::int64_t AVCaptureSessionRecorderController::pendingBindingUpdates() const
{
    const std::lock_guard lock(_lock);
    return _pendingBindingUpdates;
}

void AVCaptureSessionRecorderController::raisePendingBindingUpdates()
{
    const std::lock_guard lock(_lock);
    ++_pendingBindingUpdates;
}
