#pragma once

#include "Platform/Foundation/NSSet.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCameraSessionController.h"

/// What the object behind a recorder controller answers; told apart from the recorder only by its name.
class AVCaptureSessionRecorderControllerDelegate {
protected:
    ~AVCaptureSessionRecorderControllerDelegate() = default;
};

/// Stands between the window's bound controls and the recorder: shows the recorder's devices as properties and as names
/// for a pop-up, and turns every change seen on the recorder into change notifications on the main queue.
class AVCaptureSessionRecorderController : public NSObject {
    NS_OBJECT(AVCaptureSessionRecorderController)
public:
    AVCaptureSessionRecorderController() = default;
    ~AVCaptureSessionRecorderController() override;

    /// One weak slot under two names.
    NSObject* delegate() const { return _weakDelegate.retainedAndAutoreleasedOrNil(); }
    void setDelegate(NSObject* delegate) { _weakDelegate = delegate; }
    NSObject* recorder() const { return delegate(); }
    void setRecorder(NSObject* recorder) { setDelegate(recorder); }

    /// Always false: nothing sets it.
    bool hasRecordingDevice() const { return _hasRecordingDevice; }
    CFArray* videoDevices() const;
    CFArray* audioDevices() const;
    AVCaptureDevice* selectedVideoDevice() const;
    void setSelectedVideoDevice(AVCaptureDevice* device);
    CFArray* selectedVideoDeviceFormats() const;
    /// Stored and never read, like the two below: the getters compute.
    void setSelectedVideoDeviceFormats(CFArray* formats);
    CFArray* selectedVideoDeviceSupportedFrameRateRanges() const;
    void setSelectedVideoDeviceSupportedFrameRateRanges(CFArray* ranges);
    AVCaptureDevice* selectedAudioDevice() const;
    void setSelectedAudioDevice(AVCaptureDevice* device);
    CFArray* selectedAudioDeviceFormats() const;
    void setSelectedAudioDeviceFormats(CFArray* formats);
    bool selectedVideoDeviceProvidesAudio() const;
    static Ref<NSSet> keyPathsForValuesAffectingVideoDeviceNames();
    static Ref<NSSet> keyPathsForValuesAffectingSelectedVideoDeviceName();
    CFArray* videoDeviceNames() const;
    CFString* selectedVideoDeviceName() const;
    void setSelectedVideoDeviceName(CFString* name);
    AVCaptureDeviceFormat* videoDeviceFormat() const { return _videoDeviceFormat.get(); }
    void setVideoDeviceFormat(AVCaptureDeviceFormat* format);
    AVCaptureDeviceFormat* audioDeviceFormat() const { return _audioDeviceFormat.get(); }
    void setAudioDeviceFormat(AVCaptureDeviceFormat* format);
    AVFrameRateRange* frameRateRange() const { return _frameRateRange.get(); }
    void setFrameRateRange(AVFrameRateRange* range);
    CFArray* presets() const { return nullptr; }
    void setPresets(CFArray* presets);
    /// \throws NSException always
    void setRecording(bool recording);

    void selectedAudioCaptureDeviceBindingChanged();
    void selectedVideoCaptureDeviceBindingChanged();
    void dispatchCoalescedBindingUpdateForVideoDeviceChange();
    void dispatchCoalescedBindingUpdateForAudioDeviceChange();
    void capturingSessionUIChangedConnectedDevices(NSObject* sender);
    void observeValueForKeyPath_ofObject_change_context(
        CFString* keyPath, NSObject* object, CFDictionary* change, const void* context) override;
    void beginObservingVideoCaptureState();
    void endObservingVideoCaptureState();
    void awakeFromNib() override;
    std::int64_t pendingBindingUpdates() const;

private:
    Ref<AVCameraSessionController> sessionController() const;
    void raisePendingBindingUpdates();

    AVCapture::WeakOptional _weakDelegate;
    const bool _hasRecordingDevice = false;
    AVCaptureAtomicReference<CFArray> _selectedVideoDeviceFormats;
    AVCaptureAtomicReference<CFArray> _selectedVideoDeviceSupportedFrameRateRanges;
    AVCaptureAtomicReference<CFArray> _selectedAudioDeviceFormats;
    AVCaptureAtomicReference<AVCaptureDeviceFormat> _videoDeviceFormat;
    AVCaptureAtomicReference<AVCaptureDeviceFormat> _audioDeviceFormat;
    AVCaptureAtomicReference<AVFrameRateRange> _frameRateRange;
    mutable std::mutex _lock;
    std::int64_t _pendingBindingUpdates = 0;
};
