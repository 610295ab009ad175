#pragma once

#include "Platform/CoreMedia/CMQueues.h"

#include <cstdint>

/// The tree of camera objects that camera extensions publish, and the calls that read it and feed their sink streams.
///
/// The system object is always there; its devices are those of the extensions that answer at the moment. Every object
/// but the system object gets a new identifier each time its extension appears, and calls on one that has gone fail
/// with kCMIOHardwareBadObjectError. All calls may be made from any thread. Those that need the extension's answer wait
/// for it no longer than `kCMIOExtensionTimeLimitSeconds` and then fail with kCMIOHardwareNotRunningError.
///
/// When an extension appears, the default notification centre is told AVCaptureDeviceWasConnectedNotification, and
/// AVCaptureDeviceWasDisconnectedNotification when it goes; both on the main queue, after the list of devices changed,
/// with the device's UID (a string) as the notification's object.

using CMIOObjectID = std::uint32_t;
using CMIODeviceID = CMIOObjectID;
using CMIOStreamID = CMIOObjectID;
using CMIOClassID = std::uint32_t;
using CMIOObjectPropertySelector = std::uint32_t;
using CMIOObjectPropertyScope = std::uint32_t;
using CMIOObjectPropertyElement = std::uint32_t;

struct CMIOObjectPropertyAddress {
    CMIOObjectPropertySelector mSelector = 0;
    CMIOObjectPropertyScope mScope = 0;
    CMIOObjectPropertyElement mElement = 0;
    friend bool operator==(const CMIOObjectPropertyAddress&, const CMIOObjectPropertyAddress&) = default;
};

inline constexpr double kCMIOExtensionTimeLimitSeconds = 0.25;

inline constexpr CMIOObjectID kCMIOObjectUnknown = 0;
inline constexpr CMIOObjectID kCMIOObjectSystemObject = 1;

inline constexpr CMIOObjectPropertyScope kCMIOObjectPropertyScopeGlobal = 0x676C6F62; // 'glob'
inline constexpr CMIOObjectPropertyScope kCMIODevicePropertyScopeInput = 0x696E7074; // 'inpt'
inline constexpr CMIOObjectPropertyScope kCMIODevicePropertyScopeOutput = 0x6F757470; // 'outp'
inline constexpr CMIOObjectPropertyElement kCMIOObjectPropertyElementMaster = 0;
inline constexpr CMIOObjectPropertyElement kCMIOObjectPropertyElementMain = 0;

inline constexpr CMIOClassID kCMIOObjectClassID = 0x616F626A; // 'aobj'
inline constexpr CMIOClassID kCMIOSystemObjectClassID = 0x61737973; // 'asys'
inline constexpr CMIOClassID kCMIOPlugInClassID = 0x61706C67; // 'aplg'
inline constexpr CMIOClassID kCMIODeviceClassID = 0x61646576; // 'adev'
inline constexpr CMIOClassID kCMIOStreamClassID = 0x61737472; // 'astr'
inline constexpr CMIOClassID kCMIOGammaControlClassID = 0x676D6D61; // 'gmma'
inline constexpr CMIOClassID kCMIOSaturationControlClassID = 0x73617475; // 'satu'
inline constexpr CMIOClassID kCMIOSharpnessControlClassID = 0x73687270; // 'shrp'
inline constexpr CMIOClassID kCMIOExposureControlClassID = 0x78707372; // 'xpsr'

// Of every object.
inline constexpr CMIOObjectPropertySelector kCMIOObjectPropertyClass = 0x636C6173; // 'clas', 32-bit
inline constexpr CMIOObjectPropertySelector kCMIOObjectPropertyName = 0x6C6E616D; // 'lnam', string
inline constexpr CMIOObjectPropertySelector kCMIOObjectPropertyOwnedObjects = 0x6F776E64; // 'ownd', identifiers

// Of the system object.
inline constexpr CMIOObjectPropertySelector kCMIOHardwarePropertyDevices = 0x64657623; // 'dev#', identifiers
/// Settable, 32-bit; kept and not looked at, since this host hides no devices.
inline constexpr CMIOObjectPropertySelector kCMIOHardwarePropertyAllowScreenCaptureDevices = 0x79657320; // 'yes '

// Of a device.
inline constexpr CMIOObjectPropertySelector kCMIODevicePropertyDeviceUID = 0x75696420; // 'uid ', string
inline constexpr CMIOObjectPropertySelector kCMIODevicePropertyModelUID = 0x6D756964; // 'muid', string
inline constexpr CMIOObjectPropertySelector kCMIODevicePropertyTransportType = 0x7472616E; // 'tran', 32-bit
/// At scope 'inpt' the streams that give frames, at 'outp' those that take them; identifiers.
inline constexpr CMIOObjectPropertySelector kCMIODevicePropertyStreams = 0x73746D23; // 'stm#'
inline constexpr CMIOObjectPropertySelector kCMIODevicePropertyCanProcessAVCCommand = 0x706D6163; // 'pmac', boolean
inline constexpr CMIOObjectPropertySelector kCMIODevicePropertyCanProcessRS422Command = 0x72343232; // 'r422', boolean
inline constexpr CMIOObjectPropertySelector kCMIODevicePropertyDeviceMaster = 0x706D6E68; // 'pmnh'

// Of a stream.
inline constexpr CMIOObjectPropertySelector kCMIOStreamPropertyDirection = 0x73646972; // 'sdir', 32-bit, 1 is input
inline constexpr CMIOObjectPropertySelector kCMIOStreamPropertyTerminalType = 0x7465726D; // 'term', 32-bit
inline constexpr CMIOObjectPropertySelector kCMIOStreamPropertyStartingChannel = 0x7363686E; // 'schn', 32-bit
inline constexpr CMIOObjectPropertySelector kCMIOStreamPropertyFormatDescription = 0x70667420; // 'pft ', object
inline constexpr CMIOObjectPropertySelector kCMIOStreamPropertyFormatDescriptions = 0x70667461; // 'pfta', array
inline constexpr CMIOObjectPropertySelector kCMIOStreamPropertyFrameRate = 0x6E667274; // 'nfrt', double
inline constexpr CMIOObjectPropertySelector kCMIOStreamPropertyClock = 0x706D636C; // 'pmcl', object: the host's clock
inline constexpr CMIOObjectPropertySelector kCMIOStreamPropertyEndOfData = 0x706D6564; // 'pmed'
inline constexpr CMIOObjectPropertySelector kCMIOStreamPropertyScheduledOutputNotificationProc = 0x736F6E70; // 'sonp'

inline constexpr std::uint32_t kCMIODeviceTransportTypeVirtual = 0x76697274; // 'virt'

inline constexpr OSStatus kCMIOHardwareNotRunningError = 0x73746F70; // 'stop'
inline constexpr OSStatus kCMIOHardwareUnspecifiedError = 0x77686174; // 'what'
inline constexpr OSStatus kCMIOHardwareUnknownPropertyError = 0x77686F3F; // 'who?'
inline constexpr OSStatus kCMIOHardwareBadPropertySizeError = 0x2173697A; // '!siz'
inline constexpr OSStatus kCMIOHardwareIllegalOperationError = 0x6E6F7065; // 'nope'
inline constexpr OSStatus kCMIOHardwareBadObjectError = 0x216F626A; // '!obj'
inline constexpr OSStatus kCMIOHardwareBadDeviceError = 0x21646576; // '!dev'
inline constexpr OSStatus kCMIOHardwareBadStreamError = 0x21737472; // '!str'
inline constexpr OSStatus kCMIOHardwareUnsupportedOperationError = 0x756E6F70; // 'unop'
inline constexpr OSStatus kCMIODevicePermissionsError = 0x21686F67; // '!hog'

/// Whether the object has the property. Fail point "CMIOObjectHasProperty" (any status: no).
bool CMIOObjectHasProperty(CMIOObjectID object, const CMIOObjectPropertyAddress* address);

/// \return kCMIOHardwareBadObjectError, kCMIOHardwareUnknownPropertyError. Fail point "CMIOObjectIsPropertySettable".
OSStatus CMIOObjectIsPropertySettable(CMIOObjectID object, const CMIOObjectPropertyAddress* address, bool* isSettable);

/// The value's size: 4 for 32-bit values, 8 for doubles, 1 for booleans, 8 for an object (one reference), 4 for each
/// identifier of a list.
/// \return kCMIOHardwareBadObjectError, kCMIOHardwareUnknownPropertyError. Fail point "CMIOObjectGetPropertyDataSize".
OSStatus CMIOObjectGetPropertyDataSize(CMIOObjectID object, const CMIOObjectPropertyAddress* address,
    std::uint32_t qualifierDataSize, const void* qualifierData, std::uint32_t* dataSize);

/// Copies the value to \p data. A string or another object arrives as one `CFTypeRef` (a `CFType*`) with a reference
/// that the caller owns.
/// \param dataSize  bytes at \p data
/// \param dataUsed  receives the bytes written
/// \return kCMIOHardwareBadObjectError, kCMIOHardwareUnknownPropertyError; kCMIOHardwareBadPropertySizeError when the
/// value does not fit; kCMIOHardwareNotRunningError when the extension does not answer in time. Fail point
/// "CMIOObjectGetPropertyData".
OSStatus CMIOObjectGetPropertyData(CMIOObjectID object, const CMIOObjectPropertyAddress* address,
    std::uint32_t qualifierDataSize, const void* qualifierData, std::uint32_t dataSize, std::uint32_t* dataUsed,
    void* data);

/// Writes a value; a string is given as one `CFTypeRef` (a `CFType*`), which stays the caller's.
/// \return as for reading; kCMIOHardwareIllegalOperationError when the property is not settable or the object given is
/// not a string. Fail point "CMIOObjectSetPropertyData".
OSStatus CMIOObjectSetPropertyData(CMIOObjectID object, const CMIOObjectPropertyAddress* address,
    std::uint32_t qualifierDataSize, const void* qualifierData, std::uint32_t dataSize, const void* data);

/// Writes the object and its properties to standard error.
void CMIOObjectShow(CMIOObjectID object);

/// Starts or stops a stream of a device. Both may be repeated.
/// \return kCMIOHardwareBadDeviceError, kCMIOHardwareBadStreamError, kCMIOHardwareNotRunningError. Fail points
/// "CMIODeviceStartStream", "CMIODeviceStopStream".
OSStatus CMIODeviceStartStream(CMIODeviceID device, CMIOStreamID stream);
OSStatus CMIODeviceStopStream(CMIODeviceID device, CMIOStreamID stream);

/// Called on a thread of the platform when a buffer of the queue was consumed or given back.
/// \param token  the buffer, valid for the length of the call
/// \param refCon  as given to CMIOStreamCopyBufferQueue
using CMIODeviceStreamQueueAlteredProc = void (*)(CMIOStreamID streamID, CFTypeRef token, CFTypeRef refCon);

/// Opens the queue into which sample buffers for a sink stream are put, and closes the one opened before: for each of
/// its buffers that was not consumed yet the earlier callback is called, as it is when the extension goes.
///
/// A buffer that is enqueued (with one reference, which the platform takes over) goes to the extension at once when the
/// stream is started. It keeps its place in the queue until the extension has consumed it; then it leaves the queue,
/// the callback is called with it, and it is released. Buffers need an image in a surface and a valid presentation
/// time; one without is given back at once.
///
/// \param queueAlteredProc  may be null
/// \param queueAlteredRefCon  held weakly; once it has gone, the callback is not called
/// \param queue  receives the queue
/// \return kCMIOHardwareBadStreamError when \p stream is no sink stream; kCMIOHardwareNotRunningError; -50 for a null
/// \p queue. Fail point "CMIOStreamCopyBufferQueue".
OSStatus CMIOStreamCopyBufferQueue(CMIOStreamID stream, CMIODeviceStreamQueueAlteredProc queueAlteredProc,
    CFTypeRef queueAlteredRefCon, Ref<CMSimpleQueue>* queue);
