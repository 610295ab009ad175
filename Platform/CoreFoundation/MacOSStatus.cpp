#include "Platform/CoreFoundation/MacOSStatus.h"

#include <algorithm>
#include <iterator>

namespace {

struct StatusWords {
    OSStatus status;
    const char* name;
    const char* comment;
};

constexpr OSStatus fourCharacters(const char (&text)[5])
{
    OSType code = 0;
    for (int index = 0; index < 4; ++index)
        code = code << 8 | static_cast<unsigned char>(text[index]);
    return static_cast<OSStatus>(code);
}

/// The codes that this platform's operations give, and the general ones.
constexpr StatusWords sStatusWords[] = {
    { 0, "noErr", "no error" },
    { -4, "unimpErr", "the operation does not exist here" },
    { -36, "ioErr", "input or output failed" },
    { -43, "fnfErr", "there is no such file" },
    { -48, "dupFNErr", "a file of that name exists already" },
    { -50, "paramErr", "an argument is wrong" },
    { -54, "permErr", "access is not permitted" },
    { -108, "memFullErr", "there is not enough memory" },
    { -6660, "kCVReturnError", "a video operation failed" },
    { -6661, "kCVReturnInvalidArgument", "an argument of a video operation is wrong" },
    { -6662, "kCVReturnAllocationFailed", "there is not enough memory for a video buffer" },
    { -6680, "kCVReturnInvalidPixelFormat", "the pixel format is not supported" },
    { -6681, "kCVReturnInvalidSize", "the size of a pixel buffer is not supported" },
    { -6690, "kCVReturnPoolAllocationFailed", "the pool could not make a buffer" },
    { -12710, "kCMFormatDescriptionError_InvalidParameter", "an argument of a format description is wrong" },
    { -12730, "kCMSampleBufferError_AllocationFailed", "there is not enough memory for a sample" },
    { -12731, "kCMSampleBufferError_RequiredParameterMissing", "a sample was asked for without what it needs" },
    { -12733, "kCMSampleBufferError_BufferNotReady", "the sample's data is not there yet" },
    { -12760, "kCMBufferQueueError_AllocationFailed", "there is not enough memory for a queue" },
    { -12761, "kCMBufferQueueError_RequiredParameterMissing", "a queue was asked for without what it needs" },
    { -12764, "kCMBufferQueueError_QueueIsFull", "the queue holds as many buffers as it can" },
    { -12770, "kCMSimpleQueueError_AllocationFailed", "there is not enough memory for a queue" },
    { -12771, "kCMSimpleQueueError_RequiredParameterMissing", "a queue was asked for without what it needs" },
    { -12772, "kCMSimpleQueueError_ParameterOutOfRange", "an argument of a queue is out of range" },
    { -12773, "kCMSimpleQueueError_QueueIsFull", "the queue holds as many elements as it can" },
    { fourCharacters("!dat"), "kCMIODeviceUnsupportedFormatError", "the device does not have that format" },
    { fourCharacters("!dev"), "kCMIOHardwareBadDeviceError", "there is no such device" },
    { fourCharacters("!hog"), "kCMIODevicePermissionsError", "another program has the device for itself" },
    { fourCharacters("!obj"), "kCMIOHardwareBadObjectError", "there is no such object" },
    { fourCharacters("!siz"), "kCMIOHardwareBadPropertySizeError", "the size does not fit the property" },
    { fourCharacters("!str"), "kCMIOHardwareBadStreamError", "there is no such stream" },
    { fourCharacters("deny"), "kCMIOHardwareSuspendedBySystemError", "the system has suspended the device" },
    { fourCharacters("nope"), "kCMIOHardwareIllegalOperationError", "the operation is not allowed now" },
    { fourCharacters("run "), "kCMIOHardwareNotStoppedError", "the device is running" },
    { fourCharacters("stop"), "kCMIOHardwareNotRunningError", "the device is not running" },
    { fourCharacters("unop"), "kCMIOHardwareUnsupportedOperationError", "the object does not have that operation" },
    { fourCharacters("what"), "kCMIOHardwareUnspecifiedError", "the device failed and does not say why" },
    { fourCharacters("who?"), "kCMIOHardwareUnknownPropertyError", "the object does not have that property" },
};

const StatusWords& wordsOf(OSStatus status)
{
    static constexpr StatusWords unknown { 0, "unknownErr", "no words for this status" };
    const auto* const found = std::ranges::find(sStatusWords, status, &StatusWords::status);
    return found == std::end(sStatusWords) ? unknown : *found;
}

}

const char* GetMacOSStatusErrorString(OSStatus status)
{
    return wordsOf(status).name;
}

const char* GetMacOSStatusCommentString(OSStatus status)
{
    return wordsOf(status).comment;
}
