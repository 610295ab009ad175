#include "Tovrin09/LTCCamWindow/LTCCaptureDeviceFollower.h"

#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSLog.h"

#include <algorithm>

NS_IMPLEMENTATION(LTCCaptureDeviceFollower, NSObject)
{
    using Self = LTCCaptureDeviceFollower;
    type.message("captureDeviceWasConnected:", &Self::captureDeviceWasConnected);
    type.message("captureDeviceWasDisconnected:", &Self::captureDeviceWasDisconnected);
    type.message("defaultMicrophoneChanged:", &Self::defaultMicrophoneChanged);
    type.outlet("outletMovieWriter", &Self::outletMovieWriter);
    type.outlet("outletRecorder", &Self::outletRecorder);
}

namespace {

/// The system settles on another default microphone a moment after one has come or gone.
constexpr std::int64_t settlingTime = 2'000'000'000;

AVCaptureDevice* audioDeviceOf(AVCaptureSession* session)
{
    for (const auto& each : session->inputs()->values()) {
        const auto* const input = kindOf<AVCaptureDeviceInput>(each);
        if (input && input->device()->hasMediaType(AVMediaTypeAudio))
            return input->device();
    }
    return nullptr;
}

}

LTCCaptureDeviceFollower::~LTCCaptureDeviceFollower()
{
    NSNotificationCenter::defaultCenter()->removeObserver(this);
    if (const auto writer = _observedWriter.strongReference())
        writer->removeObserver_forKeyPath(this, AVCameraSessionController_selectedVideoDevice->string());
}

void LTCCaptureDeviceFollower::awakeFromNib()
{
    const std::pair<CFString*, const char*> observed[] {
        { AVCaptureDeviceWasConnectedNotification, "captureDeviceWasConnected:" },
        { AVCaptureDeviceWasDisconnectedNotification, "captureDeviceWasDisconnected:" },
        { AVCaptureDeviceDefaultMicrophoneChangedNotification, "defaultMicrophoneChanged:" },
    };
    for (const auto& [name, message] : observed)
        NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(this, message, name, nullptr);
    if (const auto writer = outletMovieWriter.strongReference()) {
        writer->addObserver_forKeyPath_options_context(
            this, AVCameraSessionController_selectedVideoDevice->string(), 0, nullptr);
        _observedWriter = writer.get();
    }
}

void LTCCaptureDeviceFollower::captureDeviceWasConnected(NSNotification* notification)
{
    devicesChanged(kindOf<AVCaptureDevice>(notification->object()));
}

void LTCCaptureDeviceFollower::captureDeviceWasDisconnected(NSNotification* /*notification*/)
{
    devicesChanged(nullptr);
}

void LTCCaptureDeviceFollower::defaultMicrophoneChanged(NSNotification* /*notification*/)
{
    const auto writer = writerWithGraph();
    if (!writer || HostClock::nanoseconds() - _microphoneSelectionTime > settlingTime)
        return;
    if (auto* const device = writer->audioDeviceInFirstPosition(); device != audioDeviceOf(writer->captureSession()))
        selectAudioDevice(writer, device);
}

void LTCCaptureDeviceFollower::observeValueForKeyPath_ofObject_change_context(
    CFString* /*keyPath*/, NSObject* /*object*/, CFDictionary* /*change*/, const void* /*context*/)
{
    if (_isSelecting)
        return;
    // Somebody has chosen: that holds until what was chosen goes.
    _departedVideoDevices.clear();
    // It may have gone already, which leaves the graph without a camera.
    dispatch_async(dispatch_get_main_queue(), [weakSelf = WeakRef { this }] {
        if (const auto self = weakSelf.strongReference())
            self->devicesChanged(nullptr);
    });
}

void LTCCaptureDeviceFollower::devicesChanged(AVCaptureDevice* arrived)
{
    const AutoreleasePool pool;
    if (const auto recorder = outletRecorder.strongReference())
        recorder->capturingSessionUIChangedConnectedDevices(this);
    const auto writer = writerWithGraph();
    if (!writer)
        return;
    followVideoDevice(writer, arrived && arrived->hasMediaType(AVMediaTypeVideo) ? arrived : nullptr);
    followAudioDevice(writer, arrived && arrived->hasMediaType(AVMediaTypeAudio) ? arrived : nullptr);
}

void LTCCaptureDeviceFollower::followVideoDevice(
    AVCaptureFilteredMovieWriterController* writer, AVCaptureDevice* arrived)
{
    const Ref<AVCaptureDevice> selected(writer->selectedVideoDevice());
    if (hasReturned(_departedVideoDevices, arrived)) {
        selectVideoDevice(writer, arrived);
    } else if (!selected || !selected->isConnected()) {
        noteDeparture(_departedVideoDevices, selected);
        selectVideoDevice(writer, writer->videoDeviceFaceTimeOrDeviceInDefaultPosition());
    }
}

void LTCCaptureDeviceFollower::followAudioDevice(
    AVCaptureFilteredMovieWriterController* writer, AVCaptureDevice* arrived)
{
    const Ref<AVCaptureDevice> selected(audioDeviceOf(writer->captureSession()));
    if (hasReturned(_departedAudioDevices, arrived)) {
        selectAudioDevice(writer, arrived);
        _microphoneSelectionTime = 0;
    } else if (!selected || !selected->isConnected()) {
        noteDeparture(_departedAudioDevices, selected);
        selectAudioDevice(writer, writer->audioDeviceInFirstPosition());
        _microphoneSelectionTime = HostClock::nanoseconds();
    }
}

void LTCCaptureDeviceFollower::selectVideoDevice(
    AVCaptureFilteredMovieWriterController* writer, AVCaptureDevice* device)
{
    if (!device || device == writer->selectedVideoDevice() || !device->isConnected())
        return;
    _isSelecting = true;
    writer->setSelectedVideoDevice(device);
    _isSelecting = false;
}

void LTCCaptureDeviceFollower::selectAudioDevice(
    AVCaptureFilteredMovieWriterController* writer, AVCaptureDevice* device)
{
    if (!device || device == audioDeviceOf(writer->captureSession()) || !device->isConnected())
        return;
    NSLog(CFSTR("The microphone is now \"%@\"\n"), device->localizedName());
    writer->sessionConfigurationWithBlock([device](AVCaptureSession* session) {
        for (const auto& each : session->inputs()->values()) {
            auto* const input = kindOf<AVCaptureDeviceInput>(each);
            if (input && input->device()->hasMediaType(AVMediaTypeAudio))
                session->removeInput(input);
        }
        Ref<NSError> error;
        const auto input = AVCaptureDeviceInput::initWithDevice_error(device, &error);
        if (input && session->canAddInput(input))
            session->addInput(input);
    });
}

Ref<AVCaptureFilteredMovieWriterController> LTCCaptureDeviceFollower::writerWithGraph() const
{
    auto writer = outletMovieWriter.strongReference();
    const bool hasGraph
        = writer && writer->captureSession() && (writer->videoDataOutput() || writer->audioDataOutput());
    return hasGraph ? writer : nullptr;
}

bool LTCCaptureDeviceFollower::hasReturned(Departed& departed, const AVCaptureDevice* arrived)
{
    if (!arrived)
        return false;
    const auto found = std::ranges::find(departed, textOf(arrived->uniqueID()));
    if (found == departed.end())
        return false;
    departed.erase(found, departed.end());
    return true;
}

void LTCCaptureDeviceFollower::noteDeparture(Departed& departed, const AVCaptureDevice* device)
{
    // A stand-in only goes because a real device has come, and is not missed.
    if (device && !device->isStandIn())
        departed.emplace_back(textOf(device->uniqueID()));
}
