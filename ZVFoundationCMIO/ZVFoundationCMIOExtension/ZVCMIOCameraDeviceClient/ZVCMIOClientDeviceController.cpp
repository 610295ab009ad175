#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceController.h"

#include "Platform/Foundation/NSLog.h"
#include "WithRequirements/Requirements.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/CMIOObjectProperty.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceList.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

namespace {

constexpr SEL copyFrameSelector = "copyFramePixelBufferWithPresentationTime:";
/// Back-pressure behind the handshake: with this many buffers waiting, frames are dropped.
constexpr std::int32_t mostWaitingBuffers = 3;

CMIOStreamID firstStreamOf(CFArray* streams)
{
    return NSKeyValueCoding::unbox<CMIOStreamID>(streams->objectAtIndex(0));
}

}

NS_IMPLEMENTATION(ZVCMIOClientDeviceController, NSObject)
{
    type.outlet("delegate", &ZVCMIOClientDeviceController::delegate, &ZVCMIOClientDeviceController::setDelegate);
    type.message(
        "publishFrameBufferToCameraExtension", &ZVCMIOClientDeviceController::publishFrameBufferToCameraExtension);
    type.message("queryDeviceNeedsToStream", &ZVCMIOClientDeviceController::queryDeviceNeedsToStream);
    type.message(
        "connectToCameraExtensionWithDeviceUID:", &ZVCMIOClientDeviceController::connectToCameraExtensionWithDeviceUID);
    type.key("needToStream", &ZVCMIOClientDeviceController::needToStream);
    type.key("deviceConnected", &ZVCMIOClientDeviceController::deviceConnected);
    type.key("cameraDeviceName", &ZVCMIOClientDeviceController::cameraDeviceName);
    type.key("cameraFrameRate", &ZVCMIOClientDeviceController::cameraFrameRate,
        &ZVCMIOClientDeviceController::setCameraFrameRate);
}

ZVCMIOClientDeviceController::~ZVCMIOClientDeviceController()
{
    setSinkQueue(nullptr);
    setOutputVideoFormatDescription(nullptr);
}

Ref<CFString> ZVCMIOClientDeviceController::cameraDeviceUUID() const
{
    const std::lock_guard guard(_connectionLock);
    return _cameraDeviceUUID;
}

void ZVCMIOClientDeviceController::setCameraDeviceUUID(CFString* deviceUUID)
{
    Ref<CFString> former(deviceUUID);
    const std::lock_guard guard(_connectionLock);
    std::swap(_cameraDeviceUUID, former);
}

Ref<ZVCMIOClientDevice> ZVCMIOClientDeviceController::cameraDevice() const
{
    const std::lock_guard guard(_connectionLock);
    return _cameraDevice;
}

void ZVCMIOClientDeviceController::setCameraDevice(ZVCMIOClientDevice* device)
{
    Ref<ZVCMIOClientDevice> former(device);
    const std::lock_guard guard(_connectionLock);
    std::swap(_cameraDevice, former);
}

void ZVCMIOClientDeviceController::connectToCameraExtensionWithDeviceUID(CFType* deviceUID)
{
    auto* const string = kindOf<CFString>(deviceUID);
    if (!string)
        return;
    setCameraDeviceUUID(string);
    _connectToCameraDeviceUUIDWithCurrentDeviceList();
}

void ZVCMIOClientDeviceController::_connectToCameraDeviceUUIDWithCurrentDeviceList()
{
    const auto deviceUUID = cameraDeviceUUID();
    if (!deviceUUID)
        return;
    // The UID alone tells our camera. When it is missing nothing changes: the poll looks again.
    _connectToCameraDevice(ZVCMIOClientDeviceList::deviceList()->deviceWithUID(deviceUUID));
}

void ZVCMIOClientDeviceController::_connectToCameraDevice(NSObject* device)
{
    auto* const camera = kindOf<ZVCMIOClientDevice>(device);
    if (!camera)
        return;
    setCameraDevice(camera);
    _cameraDeviceID = camera->object();
    if (auto* const inputs = camera->propertyInputStreams()) {
        _sourceStreamID = firstStreamOf(inputs);
        CFRequired(_sourceStreamID != 0, "_sourceStreamID!=0");
    }
    // No test whether a connection exists: each connect opens the queue and starts the stream again.
    if (auto* const outputs = camera->propertyOutputStreams())
        _initSinkWithSinkStreamID(firstStreamOf(outputs));
}

void ZVCMIOClientDeviceController::_initSinkWithSinkStreamID(CMIOStreamID sinkStreamID)
{
    if (!CFRequired(_cameraDeviceID != 0, "_cameraDeviceID!=0") || !CFRequired(sinkStreamID != 0, "sinkStreamID!=0"))
        return;
    _sinkStreamID = sinkStreamID;
    setSinkQueue(nullptr);
    Ref<CMSimpleQueue> sinkQueue;
    if (CoreMediaOSStatusRequired(
            CMIOStreamCopyBufferQueue(_sinkStreamID, sCMIODeviceStreamQueueAlteredProc, this, &sinkQueue),
            "CMIOStreamCopyBufferQueue(_sinkStreamID,sCMIODeviceStreamQueueAlteredProc,(__bridge "
            "void*)self,&sinkQueue)")
        && CFRequiredTypeOf(sinkQueue, CMSimpleQueueGetTypeID(), "sinkQueue")) {
        setSinkQueue(sinkQueue);
        CoreMediaOSStatusRequired(CMIODeviceStartStream(_cameraDeviceID, _sinkStreamID),
            "CMIODeviceStartStream(_cameraDeviceID,_sinkStreamID)");
        return;
    }
    __CFNSLog(CFSTR("CMIOStreamCopyBufferQueue failed/incorrect %02u (%@)"), _sinkStreamID.load(), sinkQueue);
}

void ZVCMIOClientDeviceController::_disconnectCameraDevice()
{
    if (CFRequired(_sinkStreamID != 0, "_sinkStreamID!=0"))
        CoreMediaOSStatusRequired(CMIODeviceStopStream(_cameraDeviceID, _sinkStreamID),
            "CMIODeviceStopStream(_cameraDeviceID,_sinkStreamID)");
    setSinkQueue(nullptr);
    // The source's number, not the sink's: the rest of the connection stays as it is.
    _sourceStreamID = kCMIOObjectUnknown;
}

bool ZVCMIOClientDeviceController::queryDeviceNeedsToStream()
{
    if (!cameraDevice() && cameraDeviceUUID())
        _connectToCameraDeviceUUIDWithCurrentDeviceList();
    if (!cameraDevice())
        return needToStream();
    if (!CFRequired(_sourceStreamID != 0, "_sourceStreamID!=0"))
        return needToStream();
    CFRequired(
        ZVCMIOClientObjectSetPropertyString(_sourceStreamID, kZVCMIOClientDeviceStreamingPropertyCode, CFSTR("random")),
        "ZVCMIOClientObjectSetPropertyString(_sourceStreamID,kZVCMIOClientDeviceStreamingPropertyCode,((CFStringRef) "
        "__builtin___CFStringMakeConstantString (\"\" \"random\" \"\")))");
    const auto just_property
        = ZVCMIOClientObjectGetPropertyString(_sourceStreamID, kZVCMIOClientDeviceStreamingPropertyCode);
    if (!CFRequiredTypeOf(just_property, CFStringGetTypeID(), "just_property"))
        return needToStream();
    NSLog(CFSTR("just_property = '%@'\n"), just_property);
    setNeedToStream(!CFEqual(just_property, CFSTR("sc=0")));
    return needToStream();
}

bool ZVCMIOClientDeviceController::hasDelegateWithFrames() const
{
    const auto present = delegate();
    return present && present->respondsToSelector(copyFrameSelector);
}

Ref<CVPixelBuffer> ZVCMIOClientDeviceController::frameOfDelegate(const CMTime& time)
{
    const auto present = delegate();
    auto* const frames = kindOf<ZVCMIOClientDeviceControllerDelegate>(present);
    return frames ? frames->copyFramePixelBufferWithPresentationTime(time) : nullptr;
}

void ZVCMIOClientDeviceController::publishFrameBufferToCameraExtension()
{
    if (!needsToStream() || !delegate())
        return;
    // The extension has not taken the last buffer yet. The first, and the next after a failure, need no permission.
    if (enqueued() && !readyToEnqueue())
        return;
    const auto queue = sinkQueueRetainedCopy();
    if (!CFRequiredTypeOf(queue, CMSimpleQueueGetTypeID(), "self.sinkQueue"))
        return;
    if (!CFRequired(CMSimpleQueueGetCount(queue) < mostWaitingBuffers, "CMSimpleQueueGetCount(self.sinkQueue)<3"))
        return;
    const CMTime presentationTime = CMClockGetTime(CMClockGetHostTimeClock());
    // Before the frame is fetched, so that a buffer given back meanwhile is not overlooked.
    setReadyToEnqueue(false);
    if (!hasDelegateWithFrames())
        return;
    const auto outputPixelBuffer = frameOfDelegate(presentationTime);
    if (!CFRequiredTypeOf(outputPixelBuffer, CVPixelBufferGetTypeID(), "outputPixelBuffer"))
        return;
    setOutputVideoFormatDescriptionWithCVPixelBuffer(outputPixelBuffer);
    const auto format = outputVideoFormatDescriptionRetainedCopy();
    if (!CFRequiredTypeOf(format, CMFormatDescriptionGetTypeID(), "self.outputVideoFormatDescription"))
        return;
    setEnqueued(_enqueue_pixelBuffer_pixelBufferFormat(queue, outputPixelBuffer, format));
}

void ZVCMIOClientDeviceController::sinkQueueAltered_token(CMIOStreamID /*streamID*/, CFType* token)
{
    auto* const sampleBuffer = token;
    CFRequiredTypeOf(sampleBuffer, CMSampleBufferGetTypeID(), "sampleBuffer");
    setReadyToEnqueue(true);
}

bool ZVCMIOClientDeviceController::_enqueue_pixelBuffer_pixelBufferFormat(
    CMSimpleQueueRef queue, CVPixelBufferRef pixelBuffer, CMFormatDescriptionRef pixelBufferFormat)
{
    if (!CFRequiredTypeOf(sinkQueueRetainedCopy(), CMSimpleQueueGetTypeID(), "self.sinkQueue")
        || !CFRequiredTypeOf(pixelBuffer, CVPixelBufferGetTypeID(), "pixelBuffer")
        || !CFRequiredTypeOf(pixelBufferFormat, CMFormatDescriptionGetTypeID(), "pixelBufferFormat"))
        return false;
    CMSampleTimingInfo timingInfo {};
    timingInfo.presentationTimeStamp = CMClockGetTime(CMClockGetHostTimeClock());
    Ref<CMSampleBuffer> sampleBuffer;
    if (!CoreMediaOSStatusRequired(CMSampleBufferCreateForImageBuffer(kCFAllocatorDefault, pixelBuffer, true,
                                       pixelBufferFormat, &timingInfo, &sampleBuffer),
            "CMSampleBufferCreateForImageBuffer(kCFAllocatorDefault, pixelBuffer, 1, ((void*)0), ((void*)0), "
            "pixelBufferFormat, &timingInfo, &sampleBuffer)")
        || !CFRequiredTypeOf(sampleBuffer, CMSampleBufferGetTypeID(), "sampleBuffer"))
        return false;
    // On success the reference belongs to the queue and its consumer.
    auto* const element = sampleBuffer.leak();
    if (CoreMediaOSStatusRequired(CMSimpleQueueEnqueue(queue, element), "CMSimpleQueueEnqueue(queue,sampleBuffer)"))
        return true;
    sampleBuffer = Ref<CMSampleBuffer>::adopt(element);
    return false;
}

bool ZVCMIOClientDeviceController::setOutputVideoFormatDescriptionWithCVPixelBuffer(CVPixelBufferRef outputPixelBuffer)
{
    if (CFRequiredTypeOf(outputPixelBuffer, CVPixelBufferGetTypeID(), "outputPixelBuffer")) {
        const auto held = outputVideoFormatDescriptionRetainedCopy();
        if (held
            && !CFRequired(CMVideoFormatDescriptionMatchesImageBuffer(held, outputPixelBuffer),
                "CMVideoFormatDescriptionMatchesImageBuffer(self.outputVideoFormatDescription,outputPixelBuffer)"))
            setOutputVideoFormatDescription(nullptr);
        if (!outputVideoFormatDescription()) {
            Ref<CMFormatDescription> newVideoFormatDesc;
            CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, outputPixelBuffer, &newVideoFormatDesc);
            CFRequiredTypeOf(newVideoFormatDesc, CMFormatDescriptionGetTypeID(), "newVideoFormatDesc");
            setOutputVideoFormatDescription(newVideoFormatDesc);
        }
    }
    const auto description = outputVideoFormatDescriptionRetainedCopy();
    return CFRequiredTypeOf(description, CMFormatDescriptionGetTypeID(), "self.outputVideoFormatDescription");
}

bool ZVCMIOClientDeviceController::deviceConnected()
{
    if (!cameraDevice())
        return false;
    return CFRequired(_cameraDeviceID != 0, "_cameraDeviceID!=0");
}

NSString* ZVCMIOClientDeviceController::cameraDeviceName()
{
    if (!CFRequired(deviceConnected(), "self.deviceConnected"))
        return CFSTR("");
    auto* const cameraPropertyName = cameraDevice()->propertyName();
    if (!CFRequiredTypeOf(cameraPropertyName, CFStringGetTypeID(), "cameraPropertyName"))
        return CFSTR("");
    return autorelease(CFString::create(cameraPropertyName->string()));
}

bool ZVCMIOClientDeviceController::deviceSetPropertyWithFourCharCode_stringValue(
    FourCharCode propertyCode, CFString* /*stringValue*/)
{
    if (!CFRequired(_cameraDeviceID != 0, "_cameraDeviceID!=0"))
        return false;
    auto* const testStringValue = CFSTR("CMIOObjectSetCFStringRefPropertyGlobalMaster");
    return CFRequired(CMIOObjectSetCFStringRefPropertyGlobalMaster(_cameraDeviceID, propertyCode, testStringValue),
        "CMIOObjectSetCFStringRefPropertyGlobalMaster(_cameraDeviceID, propertyCode, testStringValue)");
}

bool ZVCMIOClientDeviceController::deviceSetPropertyWithFourCharCode_surfaceValue(
    FourCharCode propertyCode, CFType* surfaceValue)
{
    if (!CFRequired(_cameraDeviceID != 0, "_cameraDeviceID!=0"))
        return false;
    return CFRequired(CMIOObjectSetCFTypeRefPropertyGlobalMaster(_cameraDeviceID, propertyCode, surfaceValue),
        "CMIOObjectSetCFTypeRefPropertyGlobalMaster(_cameraDeviceID, propertyCode, surfaceValue)");
}

bool ZVCMIOClientObjectSetPropertyString(CMIOObjectID object, CMIOObjectPropertySelector selector, CFType* string)
{
    return CMIOObjectSetCFStringRefPropertyGlobalMaster(object, selector, string);
}

Ref<CFType> ZVCMIOClientObjectGetPropertyString(CMIOObjectID object, CMIOObjectPropertySelector selector)
{
    return CMIOObjectGetCFStringRefPropertyGlobalMaster(object, selector);
}

void sCMIODeviceStreamQueueAlteredProc(CMIOStreamID streamID, CFTypeRef token, CFTypeRef refCon)
{
    const Ref<CFType> held(refCon);
    if (auto* const controller = kindOf<ZVCMIOClientDeviceController>(held))
        controller->sinkQueueAltered_token(streamID, token);
}
