#pragma once

#include "Platform/Foundation/NSNotification.h"
#include "Platform/Foundation/NSSet.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCameraSessionProtocol.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAtomicReference.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturingSessionObserverProtocol.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureWeakOptional.h"

inline CFString* const AVCameraSessionController_selectedVideoDevice = CFSTR("selectedVideoDevice");
inline CFString* const AVCameraSessionController_selectedAudioDevice = CFSTR("selectedAudioDevice");
inline CFString* const AVCameraSessionController_videoDevices = CFSTR("videoDevices");

/// What stands in a list of cameras when none is chosen: the localised text of "No Camera". Null until the load-time
/// initialiser has run.
extern CFString* AVCameraSessionController_NoCameraDeviceName;
/// Sets the text above. Runs when the program is loaded, after the capture defaults have been set.
void AVCameraSessionController_NoCameraDeviceNameConstructor();

/// Owns the capture session and the observers of its notifications, brackets changes of its configuration, lists the
/// devices and decides which camera the system starts with. Holds no outputs and no queue.
class AVCameraSessionController : public NSObject, public AVCameraSessionProtocol {
    NS_OBJECT(AVCameraSessionController)
public:
    AVCameraSessionController();

    NSObject* outletSessionObserver() const { return _weakOutletSessionObserver.retainedAndAutoreleasedOrNil(); }
    void setOutletSessionObserver(NSObject* observer) { _weakOutletSessionObserver = observer; }
    /// Null after the session was destructed.
    AVCaptureSession* session() const override { return _session.get(); }
    void setSession(AVCaptureSession* session);
    NSMutableArray* observers() const { return _observers.get(); }
    void setObservers(NSMutableArray* observers) { _observers.set(observers); }

    /// A runtime error of the session arrives here; nothing is made of it unless a subclass does.
    virtual void delegatedCapturingError(NSError* error);
    /// Tells the session's observer, on the main queue.
    void delegatedSessionConfigurationChanged();
    void refreshAudioVideoInputDevices();
    void refreshAvailableSessionPresetsForDevice(AVCaptureDevice* device);

    bool addObserverForNotificationName_andBlock(CFString* name, std::function<void(NSNotification*)> block);
    void connectSessionObservers();
    void removeSessionObservers();
    void constructRecordingSession();
    void destructRecordingSession();

    void beginCapturingSessionWithVideoCaptureDevice(AVCaptureDevice* device);
    void beginSessionConfiguration(AVCaptureSession* session) override;
    void commitSessionConfiguration() override;
    /// Runs \p block between begin and commit. The session is committed once more afterwards, whatever happened.
    /// \throws what \p block throws, unless that is an `NSException`, which is logged and dropped
    void sessionConfigurationWithBlock(const std::function<void(AVCaptureSession*)>& block) override;
    bool sessionAddOutput(AVCaptureOutput* output);
    void updateSessionPresetForSelectedDevice(AVCaptureDevice* device);

    virtual AVCaptureDevice* selectedVideoDevice();
    virtual void setSelectedVideoDevice(AVCaptureDevice* device);
    virtual AVCaptureDevice* selectedAudioDevice();
    virtual void setSelectedAudioDevice(AVCaptureDevice* device);
    bool selectedVideoDeviceProvidesAudio();

    CFArray* availableVideoInputDevices() override;
    /// Nobody fills this property, so it is null, unlike the list that the class gives.
    CFArray* availableAudioInputDevices() const { return _availableAudioInputDevices.get(); }
    AVCaptureDevice* videoDeviceInDefaultPosition();
    /// The camera to start with: the first whose name begins with "FaceTime" or "iSight", else the last whose maker is
    /// named "Apple…", else the first.
    AVCaptureDevice* videoDeviceFaceTimeOrDeviceInDefaultPosition();
    AVCaptureDevice* videoDeviceWithPosition(AVCaptureDevicePosition position);
    AVCaptureDevice* audioDeviceInFirstPosition();
    CFArray* videoDevices();
    /// The property above and not the class's list, so null.
    CFArray* audioDevices();

    static Ref<NSSet> keyPathsForValuesAffectingSelectedVideoDeviceProvidesAudio();
    static CFDictionary* defaultPixelBufferSettingsWithFormat(std::uint32_t format);
    static CFDictionary* defaultPixelBufferSettings();
    static CFDictionary* defaultCompressedVideoSettings();
    static CFString* defaultSessionPreset();
    /// Cameras, then devices that bring picture and sound together.
    static CFArray* availableVideoInputDevicesOfClass();
    static CFArray* availableAudioInputDevicesOfClass();

private:
    AVCapture::WeakOptional _weakOutletSessionObserver;
    AVCaptureAtomicReference<AVCaptureSession> _session;
    AVCaptureAtomicReference<CFArray> _availableAudioInputDevices;
    AVCaptureAtomicReference<NSMutableArray> _observers;
};
