#pragma once

#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureFilteredMovieWriterController.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureSessionRecorderController.h"

/// Keeps the capture graph on devices that are there, and the window's list of cameras true, while cameras and
/// microphones come and go. Made by the window's interface file. Main thread.
///
/// When the camera in use goes, the default policy chooses another one; when it comes back, and nobody has chosen a
/// camera meanwhile, it is in use again. The same holds for the microphone, of which the graph has one and people
/// choose it in the system's settings: the default one while the one in use is away.
class LTCCaptureDeviceFollower : public NSObject {
    NS_OBJECT(LTCCaptureDeviceFollower)
public:
    LTCCaptureDeviceFollower() = default;
    ~LTCCaptureDeviceFollower() override;

    WeakRef<AVCaptureFilteredMovieWriterController> outletMovieWriter;
    WeakRef<AVCaptureSessionRecorderController> outletRecorder;

    void awakeFromNib() override;
    void captureDeviceWasConnected(NSNotification* notification);
    void captureDeviceWasDisconnected(NSNotification* notification);
    void defaultMicrophoneChanged(NSNotification* notification);
    void observeValueForKeyPath_ofObject_change_context(
        CFString* keyPath, NSObject* object, CFDictionary* change, const void* context) override;

private:
    /// The devices that were in use and have gone, the one that people chose first, by identifier.
    using Departed = std::vector<std::string>;

    void devicesChanged(AVCaptureDevice* arrived);
    void followVideoDevice(AVCaptureFilteredMovieWriterController* writer, AVCaptureDevice* arrived);
    void followAudioDevice(AVCaptureFilteredMovieWriterController* writer, AVCaptureDevice* arrived);
    void selectVideoDevice(AVCaptureFilteredMovieWriterController* writer, AVCaptureDevice* device);
    static void selectAudioDevice(AVCaptureFilteredMovieWriterController* writer, AVCaptureDevice* device);
    /// The writer while it has a graph that devices can be put into.
    Ref<AVCaptureFilteredMovieWriterController> writerWithGraph() const;
    static bool hasReturned(Departed& departed, const AVCaptureDevice* arrived);
    static void noteDeparture(Departed& departed, const AVCaptureDevice* device);

    Departed _departedVideoDevices;
    Departed _departedAudioDevices;
    bool _isSelecting = false; ///< the change of the camera that is being seen is our own
    std::int64_t _microphoneSelectionTime = 0; ///< when we last put the default one in
    WeakRef<NSObject> _observedWriter;
};
