#pragma once

#include "Platform/CoreMedia/CMQueues.h"
#include "Platform/CoreMediaIO/CMIOHardware.h"
#include "Platform/Foundation/NSObject.h"
#include "WithRequirements/ReferenceProperty.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDevice.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceControllerDelegate.h"

#include <atomic>
#include <mutex>

/// The application's end of the virtual camera: finds the device by its UID, opens the sink stream, feeds it one sample
/// buffer at a time, and asks the extension whether anybody watches.
///
/// It has no timer of its own: the poll and the publication are driven from one serial queue. Connecting also happens
/// on the main thread, and buffers come back on a thread of the platform.
class ZVCMIOClientDeviceController : public NSObject {
    NS_OBJECT(ZVCMIOClientDeviceController)
public:
    ZVCMIOClientDeviceController() = default;
    ~ZVCMIOClientDeviceController() override;

    Ref<NSObject> delegate() const { return _delegate.strongReference(); }
    void setDelegate(NSObject* delegate) { _delegate = delegate; }

    void connectToCameraExtensionWithDeviceUID(CFType* deviceUID);
    bool queryDeviceNeedsToStream();
    void publishFrameBufferToCameraExtension();
    bool deviceConnected();
    NSString* cameraDeviceName();
    bool needsToStream() const { return needToStream(); }
    void sinkQueueAltered_token(CMIOStreamID streamID, CFType* token);
    bool setOutputVideoFormatDescriptionWithCVPixelBuffer(CVPixelBufferRef outputPixelBuffer);
    void _connectToCameraDeviceUUIDWithCurrentDeviceList();
    void _connectToCameraDevice(NSObject* device);
    void _initSinkWithSinkStreamID(CMIOStreamID sinkStreamID);
    bool _enqueue_pixelBuffer_pixelBufferFormat(
        CMSimpleQueueRef queue, CVPixelBufferRef pixelBuffer, CMFormatDescriptionRef pixelBufferFormat);
    void _disconnectCameraDevice();
    /// Writes a fixed string to the device, whatever \p stringValue says: a test of the road.
    bool deviceSetPropertyWithFourCharCode_stringValue(FourCharCode propertyCode, CFString* stringValue);
    bool deviceSetPropertyWithFourCharCode_surfaceValue(FourCharCode propertyCode, CFType* surfaceValue);

    CFString* sinkQueueSync() const { return _sinkQueue.sync(); }
    CMSimpleQueueRef sinkQueue() const { return _sinkQueue.get(); }
    CMSimpleQueueRef sinkQueueAutoreleasedCopy() const { return _sinkQueue.autoreleasedCopy(); }
    Ref<CMSimpleQueue> sinkQueueRetainedCopy() const { return _sinkQueue.retainedCopy(); }
    Ref<CMSimpleQueue> sinkQueueCopy() const { return _sinkQueue.copy(); }
    void setSinkQueue(CMSimpleQueueRef queue) { _sinkQueue.set(queue); }

    CFString* outputVideoFormatDescriptionSync() const { return _outputVideoFormatDescription.sync(); }
    CMFormatDescriptionRef outputVideoFormatDescription() const { return _outputVideoFormatDescription.get(); }
    CMFormatDescriptionRef outputVideoFormatDescriptionAutoreleasedCopy() const
    {
        return _outputVideoFormatDescription.autoreleasedCopy();
    }
    Ref<CMFormatDescription> outputVideoFormatDescriptionRetainedCopy() const
    {
        return _outputVideoFormatDescription.retainedCopy();
    }
    Ref<CMFormatDescription> outputVideoFormatDescriptionCopy() const { return _outputVideoFormatDescription.copy(); }
    void setOutputVideoFormatDescription(CMFormatDescriptionRef description)
    {
        _outputVideoFormatDescription.set(description);
    }

    bool readyToEnqueue() const { return _readyToEnqueue.load(); }
    void setReadyToEnqueue(bool ready) { _readyToEnqueue.store(ready); }
    bool needToStream() const { return _needToStream.load(); }
    void setNeedToStream(bool need) { _needToStream.store(need); }
    bool enqueued() const { return _enqueued.load(); }
    void setEnqueued(bool enqueued) { _enqueued.store(enqueued); }
    std::uint64_t sequenceNumber() const { return _sequenceNumber.load(); }
    void setSequenceNumber(std::uint64_t number) { _sequenceNumber.store(number); }
    CMIODeviceID cameraDeviceID() const { return _cameraDeviceID; }
    CMIOStreamID sourceStreamID() const { return _sourceStreamID; }
    CMIOStreamID sinkStreamID() const { return _sinkStreamID; }
    std::uint64_t cameraFrameRate() const { return _cameraFrameRate; }
    void setCameraFrameRate(std::uint64_t rate) { _cameraFrameRate = rate; }
    Ref<CFString> cameraDeviceUUID() const;
    void setCameraDeviceUUID(CFString* deviceUUID);
    Ref<ZVCMIOClientDevice> cameraDevice() const;

private:
    void setCameraDevice(ZVCMIOClientDevice* device);
    /// The frame of the delegate for this time, if there is one to ask.
    Ref<CVPixelBuffer> frameOfDelegate(const CMTime& time);
    bool hasDelegateWithFrames() const;

    WeakRef<NSObject> _delegate;
    ReferenceProperty<CMSimpleQueue> _sinkQueue { "sinkQueue" };
    ReferenceProperty<CMFormatDescription> _outputVideoFormatDescription { "outputVideoFormatDescription" };
    std::atomic<bool> _readyToEnqueue { false };
    std::atomic<bool> _needToStream { false };
    std::atomic<bool> _enqueued { false };
    // Plain values that the main thread and the timer queue both touch.
    std::atomic<CMIODeviceID> _cameraDeviceID { kCMIOObjectUnknown };
    std::atomic<CMIOStreamID> _sourceStreamID { kCMIOObjectUnknown };
    std::atomic<CMIOStreamID> _sinkStreamID { kCMIOObjectUnknown };
    std::atomic<std::uint64_t> _cameraFrameRate { 0 };
    std::atomic<std::uint64_t> _sequenceNumber { 0 };
    mutable std::mutex _connectionLock; ///< of the two references below, each for one read or swap
    Ref<CFString> _cameraDeviceUUID;
    Ref<ZVCMIOClientDevice> _cameraDevice;
};

bool ZVCMIOClientObjectSetPropertyString(CMIOObjectID object, CMIOObjectPropertySelector selector, CFType* string);
Ref<CFType> ZVCMIOClientObjectGetPropertyString(CMIOObjectID object, CMIOObjectPropertySelector selector);

/// What the platform calls when the sink took a buffer or gave it back.
void sCMIODeviceStreamQueueAlteredProc(CMIOStreamID streamID, CFTypeRef token, CFTypeRef refCon);
