#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIODeviceConnectionController.h"

#include "Platform/AVFoundation/AVCaptureDevice.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "WithRequirements/Requirements.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceList.h"

NS_IMPLEMENTATION(ZVCMIODeviceConnectionController, NSObject)
{
    type.outlet(
        "delegate", &ZVCMIODeviceConnectionController::delegate, &ZVCMIODeviceConnectionController::setDelegate);
    type.outlet("cameraDevice", &ZVCMIODeviceConnectionController::cameraDevice,
        &ZVCMIODeviceConnectionController::setCameraDevice);
    type.key("CMIOCameraDeviceUUID", &ZVCMIODeviceConnectionController::CMIOCameraDeviceUUID,
        &ZVCMIODeviceConnectionController::setCMIOCameraDeviceUUID);
    type.key("deviceStreamingReady", &ZVCMIODeviceConnectionController::deviceStreamingReady);
    type.message("startTimer", &ZVCMIODeviceConnectionController::startTimer);
    type.message("stopTimer", &ZVCMIODeviceConnectionController::stopTimer);
    type.message("establishCameraConnection", &ZVCMIODeviceConnectionController::establishCameraConnection);
    type.message("actionUpdateConnectedDevices:", &ZVCMIODeviceConnectionController::actionUpdateConnectedDevices);
    type.message("actionDisplayDeviceList:", &ZVCMIODeviceConnectionController::actionDisplayDeviceList);
}

ZVCMIODeviceConnectionController::~ZVCMIODeviceConnectionController()
{
    stopTimer();
    auto* const center = NSNotificationCenter::defaultCenter();
    if (_connected)
        center->removeObserver(_connected);
    if (_disconnected)
        center->removeObserver(_disconnected);
}

void ZVCMIODeviceConnectionController::setCMIOCameraDeviceUUID(NSString* deviceUUID)
{
    setCameraDeviceUUID(deviceUUID);
    if (!CFRequired(cameraRenderFrameRate() > 0, "self.cameraRenderFrameRate>0"))
        return;
    if (cameraDeviceUUID())
        establishCameraConnection();
}

void ZVCMIODeviceConnectionController::establishCameraConnectionWithDeviceUUID(NSString* deviceUUID)
{
    setCMIOCameraDeviceUUID(deviceUUID);
}

void ZVCMIODeviceConnectionController::establishCameraConnection()
{
    startTimer();
    if (cameraDevice())
        actionUpdateConnectedDevices(this);
}

double ZVCMIODeviceConnectionController::cameraRenderFrameRate() const
{
    const auto device = cameraDevice();
    return device ? static_cast<double>(device->cameraFrameRate()) : 0.0;
}

double ZVCMIODeviceConnectionController::cameraRenderFrameRateSeconds() const
{
    const double rate = cameraRenderFrameRate();
    return rate > 0 ? 1.0 / rate : rate;
}

double ZVCMIODeviceConnectionController::cameraConnectionRateSeconds() const
{
    return 3.0;
}

void ZVCMIODeviceConnectionController::startTimer()
{
    // First, and also when the timers run already: publication then pauses until the next poll.
    setDeviceStreamingReady(false);
    if (_timerRender || _timerConnect)
        return;
    if (!CFRequired(cameraRenderFrameRate() > 0, "self.cameraRenderFrameRate>0"))
        return;
    _timerRender = ZVCMIODispatchTimerWeakTarget::timerWithTarget_interval_block(
        this, cameraRenderFrameRateSeconds(), [](NSObject* target) {
            if (auto* const self = kindOf<ZVCMIODeviceConnectionController>(target))
                self->_dispatchTimerRender();
        });
    _timerConnect = ZVCMIODispatchTimerWeakTarget::timerWithTarget_interval_block(
        this, cameraConnectionRateSeconds(), [](NSObject* target) {
            if (auto* const self = kindOf<ZVCMIODeviceConnectionController>(target))
                self->_dispatchTimerConnect();
        });
    _timerRender->startTimer();
    _timerConnect->startTimer();
}

void ZVCMIODeviceConnectionController::stopTimer()
{
    // The timers stay in their fields, so `startTimer` does not start them again.
    if (_timerRender)
        _timerRender->stopTimer();
    if (_timerConnect)
        _timerConnect->stopTimer();
}

void ZVCMIODeviceConnectionController::awakeFromNib()
{
    auto* const center = NSNotificationCenter::defaultCenter();
    // Arrival and departure take one road, and any camera counts. The blocks hold the controller: it lives to the end.
    const auto update
        = [self = Ref(this)](NSNotification* notification) { self->actionUpdateConnectedDevices(notification); };
    _connected = center->addObserverForName_object_queue_usingBlock(
        AVCaptureDeviceWasConnectedNotification, nullptr, NSOperationQueue::mainQueue(), update);
    _disconnected = center->addObserverForName_object_queue_usingBlock(
        AVCaptureDeviceWasDisconnectedNotification, nullptr, NSOperationQueue::mainQueue(), update);
}

void ZVCMIODeviceConnectionController::actionUpdateConnectedDevices(NSObject* /*sender*/)
{
    ZVCMIOClientDeviceList::makeAllDevicesVisible();
    const auto device = cameraDevice();
    if (device && cameraDeviceUUID())
        device->connectToCameraExtensionWithDeviceUID(cameraDeviceUUID());
}

void ZVCMIODeviceConnectionController::actionDisplayDeviceList(NSObject* /*sender*/)
{
    ZVCMIOClientDeviceList::makeAllDevicesVisible();
    for (const auto& entry : ZVCMIOClientDeviceList::deviceList()->allDevices()->values()) {
        // The texts go nowhere; what remains of the action is that everything was read once more.
        if (auto* const device = kindOf<ZVCMIOClientDevice>(entry))
            CFStringCreateWithFormat(CFSTR("device:'%@' UID:'%@'"), device->propertyName(), device->deviceUID());
    }
    actionUpdateConnectedDevices(this);
}

void ZVCMIODeviceConnectionController::_dispatchTimerRender()
{
    const auto device = cameraDevice();
    if (device && deviceStreamingReady())
        device->publishFrameBufferToCameraExtension();
}

void ZVCMIODeviceConnectionController::_dispatchTimerConnect()
{
    if (const auto device = cameraDevice()) {
        const bool needsToStream = device->queryDeviceNeedsToStream();
        if (needsToStream != deviceStreamingReady())
            setDeviceStreamingReady(needsToStream);
    }
    const auto listener = delegate();
    auto* const told = kindOf<ZVCMIODeviceConnectionControllerDelegate>(listener);
    if (told && listener->respondsToSelector("deviceConnectionTimerConnect:"))
        told->deviceConnectionTimerConnect(this);
}
