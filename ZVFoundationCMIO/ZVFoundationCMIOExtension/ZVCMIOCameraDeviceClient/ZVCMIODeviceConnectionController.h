#pragma once

#include "Platform/Foundation/NSNotification.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceController.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIODeviceConnectionControllerDelegate.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIODispatchTimerWeakTarget.h"

/// The heartbeat of the virtual camera: a render timer that publishes frames at the camera's rate while somebody
/// watches, and a connect timer that asks the extension every 3 seconds. Also reconnects when cameras come and go.
class ZVCMIODeviceConnectionController : public NSObject {
    NS_OBJECT(ZVCMIODeviceConnectionController)
public:
    ZVCMIODeviceConnectionController() = default;
    ~ZVCMIODeviceConnectionController() override;

    Ref<NSObject> delegate() const { return _delegate.strongReference(); }
    void setDelegate(NSObject* delegate) { _delegate = delegate; }
    Ref<ZVCMIOClientDeviceController> cameraDevice() const { return _cameraDevice.strongReference(); }
    void setCameraDevice(ZVCMIOClientDeviceController* device) { _cameraDevice = device; }

    NSString* CMIOCameraDeviceUUID() const { return cameraDeviceUUID(); }
    void setCMIOCameraDeviceUUID(NSString* deviceUUID);
    void establishCameraConnectionWithDeviceUUID(NSString* deviceUUID);
    void establishCameraConnection();
    double cameraRenderFrameRate() const;
    double cameraRenderFrameRateSeconds() const;
    double cameraConnectionRateSeconds() const;
    void startTimer();
    void stopTimer();
    void awakeFromNib() override;
    void actionUpdateConnectedDevices(NSObject* sender);
    void actionDisplayDeviceList(NSObject* sender);
    void _dispatchTimerRender();
    void _dispatchTimerConnect();

    bool deviceStreamingReady() const { return _deviceStreamingReady.load(); }
    void setDeviceStreamingReady(bool ready) { _deviceStreamingReady.store(ready); }
    ZVCMIODispatchTimerWeakTarget* timerRender() const { return _timerRender; }
    ZVCMIODispatchTimerWeakTarget* timerConnect() const { return _timerConnect; }
    NSString* cameraDeviceUUID() const { return _cameraDeviceUUID; }
    void setCameraDeviceUUID(NSString* deviceUUID) { _cameraDeviceUUID = deviceUUID; }

private:
    WeakRef<NSObject> _delegate;
    WeakRef<ZVCMIOClientDeviceController> _cameraDevice;
    std::atomic<bool> _deviceStreamingReady { false };
    Ref<ZVCMIODispatchTimerWeakTarget> _timerRender;
    Ref<ZVCMIODispatchTimerWeakTarget> _timerConnect;
    Ref<NSObject> _connected;
    Ref<NSObject> _disconnected;
    Ref<NSString> _cameraDeviceUUID;
};
