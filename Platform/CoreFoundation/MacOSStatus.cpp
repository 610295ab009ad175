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

/// The codes that this platform's operations give or that its frameworks publish, and the general ones.
constexpr StatusWords sStatusWords[] = {
    // General ones, of files and of memory.
    { 0, "noErr", "no error" },
    { -4, "unimpErr", "the operation does not exist here" },
    { -33, "dirFulErr", "the folder is full" },
    { -34, "dskFulErr", "the disk is full" },
    { -35, "nsvErr", "there is no such volume" },
    { -36, "ioErr", "input or output failed" },
    { -37, "bdNamErr", "the file's name is wrong" },
    { -38, "fnOpnErr", "the file is not open" },
    { -39, "eofErr", "the file ends here" },
    { -40, "posErr", "the position lies before the file's start" },
    { -41, "mFulErr", "the file does not fit into memory" },
    { -42, "tmfoErr", "too many files are open" },
    { -43, "fnfErr", "there is no such file" },
    { -44, "wPrErr", "the disk is protected from writing" },
    { -45, "fLckdErr", "the file is locked" },
    { -46, "vLckdErr", "the volume is locked" },
    { -47, "fBsyErr", "the file is in use" },
    { -48, "dupFNErr", "a file of that name exists already" },
    { -49, "opWrErr", "the file is open for writing already" },
    { -50, "paramErr", "an argument is wrong" },
    { -51, "rfNumErr", "the open file's number is wrong" },
    { -52, "gfpErr", "the position in the file could not be had" },
    { -53, "volOffLinErr", "the volume is not connected" },
    { -54, "permErr", "access is not permitted" },
    { -55, "volOnLinErr", "the volume is connected already" },
    { -56, "nsDrvErr", "there is no such drive" },
    { -57, "noMacDskErr", "the disk's format is not known" },
    { -58, "extFSErr", "the volume belongs to another file system" },
    { -59, "fsRnErr", "renaming failed and left the file in between" },
    { -60, "badMDBErr", "the volume's directory is damaged" },
    { -61, "wrPermErr", "writing is not permitted" },
    { -108, "memFullErr", "there is not enough memory" },
    { -109, "nilHandleErr", "a handle is null" },
    { -110, "memAdrErr", "the address is odd or out of range" },
    { -111, "memWZErr", "the memory block is free already" },
    { -112, "memPurErr", "the memory block cannot be given up" },
    { -113, "memAZErr", "the address lies outside the heap" },
    { -114, "memPCErr", "a pointer into the heap is wrong" },
    { -115, "memBCErr", "a memory block is damaged" },
    { -116, "memSCErr", "a memory block's size is wrong" },
    { -117, "memLockedErr", "the memory block is locked" },
    { -120, "dirNFErr", "there is no such folder" },
    { -121, "tmwdoErr", "too many folders are in use" },
    { -122, "badMovErr", "the file cannot be moved there" },
    { -123, "wrgVolTypErr", "the volume does not have that operation" },
    { -124, "volGoneErr", "the volume was disconnected" },
    { -128, "userCanceledErr", "the user has given it up" },
    // Samples, queues, clocks and format descriptions.
    { -16751, "kCMSampleBufferError_DataCanceled", "the sample's data was given up before it came" },
    { -16750, "kCMSampleBufferError_DataFailed", "the sample's data could not be had" },
    { -16308, "kCMMetadataIdentifierError_NoKeyValueAvailable", "the identifier has no key value" },
    { -16307, "kCMMetadataIdentifierError_BadIdentifier", "the metadata identifier is wrong" },
    { -16306, "kCMMetadataIdentifierError_BadKeySpace", "the key space is wrong" },
    { -16305, "kCMMetadataIdentifierError_BadNumberKey", "the key is not the number that it should be" },
    { -16304, "kCMMetadataIdentifierError_BadKeyType", "the key is of a wrong type" },
    { -16303, "kCMMetadataIdentifierError_BadKeyLength", "the key is of a wrong length" },
    { -16302, "kCMMetadataIdentifierError_BadKey", "the key is wrong" },
    { -16301, "kCMMetadataIdentifierError_RequiredParameterMissing",
        "an identifier was asked for without what it needs" },
    { -16300, "kCMMetadataIdentifierError_AllocationFailed", "there is not enough memory for an identifier" },
    { -15491, "kCMMemoryPoolError_InvalidParameter", "an argument of a memory pool is wrong" },
    { -15490, "kCMMemoryPoolError_AllocationFailed", "there is not enough memory for a memory pool" },
    { -12773, "kCMSimpleQueueError_QueueIsFull", "the queue holds as many elements as it can" },
    { -12772, "kCMSimpleQueueError_ParameterOutOfRange", "an argument of a queue is out of range" },
    { -12771, "kCMSimpleQueueError_RequiredParameterMissing", "a queue was asked for without what it needs" },
    { -12770, "kCMSimpleQueueError_AllocationFailed", "there is not enough memory for a queue" },
    { -12769, "kCMBufferQueueError_InvalidBuffer", "the buffer cannot go into this queue" },
    { -12768, "kCMBufferQueueError_InvalidTriggerToken", "there is no such trigger on the queue" },
    { -12767, "kCMBufferQueueError_InvalidTriggerCondition", "a queue has no trigger for that condition" },
    { -12766, "kCMBufferQueueError_CannotModifyQueueFromTriggerCallback",
        "a trigger's callback may not change its queue" },
    { -12765, "kCMBufferQueueError_BadTriggerDuration", "the trigger's duration is wrong" },
    { -12764, "kCMBufferQueueError_QueueIsFull", "the queue holds as many buffers as it can" },
    { -12763, "kCMBufferQueueError_EnqueueAfterEndOfData", "the queue's data was declared to have ended" },
    { -12762, "kCMBufferQueueError_InvalidCMBufferCallbacksStruct", "the queue's callbacks are wrong" },
    { -12761, "kCMBufferQueueError_RequiredParameterMissing", "a queue was asked for without what it needs" },
    { -12760, "kCMBufferQueueError_AllocationFailed", "there is not enough memory for a queue" },
    { -12757, "kCMTimebaseError_ReadOnly", "the timebase may only be read" },
    { -12756, "kCMClockError_UnsupportedOperation", "the clock does not have that operation" },
    { -12755, "kCMSyncError_RateMustBeNonZero", "a clock that stands still cannot be followed" },
    { -12754, "kCMSyncError_AllocationFailed", "there is not enough memory to relate two clocks" },
    { -12753, "kCMSyncError_InvalidParameter", "an argument about two clocks is wrong" },
    { -12752, "kCMSyncError_MissingRequiredParameter", "two clocks are to be related and one is missing" },
    { -12751, "kCMTimebaseError_TimerIntervalTooShort", "the timer's interval is too short" },
    { -12750, "kCMTimebaseError_AllocationFailed", "there is not enough memory for a timebase" },
    { -12749, "kCMTimebaseError_InvalidParameter", "an argument of a timebase is wrong" },
    { -12748, "kCMTimebaseError_MissingRequiredParameter", "a timebase was asked for without what it needs" },
    { -12747, "kCMClockError_AllocationFailed", "there is not enough memory for a clock" },
    { -12746, "kCMClockError_InvalidParameter", "an argument of a clock is wrong" },
    { -12745, "kCMClockError_MissingRequiredParameter", "a clock was asked for without what it needs" },
    { -12744, "kCMSampleBufferError_Invalidated", "the sample was declared to be void" },
    { -12743, "kCMSampleBufferError_InvalidMediaFormat", "the sample's format is wrong" },
    { -12742, "kCMSampleBufferError_InvalidSampleData", "the sample's data is damaged" },
    { -12741, "kCMSampleBufferError_InvalidMediaTypeForOperation", "the operation is not for samples of that medium" },
    { -12740, "kCMSampleBufferError_SampleTimingInfoInvalid", "the sample's times are wrong" },
    { -12739, "kCMSampleBufferError_CannotSubdivide", "the sample cannot be taken apart" },
    { -12738, "kCMSampleBufferError_InvalidEntryCount", "the number of entries is wrong" },
    { -12737, "kCMSampleBufferError_ArrayTooSmall", "the list has no room for what was asked" },
    { -12736, "kCMSampleBufferError_BufferHasNoSampleTimingInfo", "the sample has no times" },
    { -12735, "kCMSampleBufferError_BufferHasNoSampleSizes", "the sample has no sizes" },
    { -12734, "kCMSampleBufferError_SampleIndexOutOfRange", "there is no sample of that number" },
    { -12733, "kCMSampleBufferError_BufferNotReady", "the sample's data is not there yet" },
    { -12732, "kCMSampleBufferError_AlreadyHasDataBuffer", "the sample has its data already" },
    { -12731, "kCMSampleBufferError_RequiredParameterMissing", "a sample was asked for without what it needs" },
    { -12730, "kCMSampleBufferError_AllocationFailed", "there is not enough memory for a sample" },
    { -12719, "kCMFormatDescriptionBridgeError_InvalidSlice", "the part of the description is wrong" },
    { -12718, "kCMFormatDescriptionError_ValueNotAvailable", "the format description does not have that value" },
    { -12717, "kCMFormatDescriptionBridgeError_UnsupportedSampleDescriptionFlavor",
        "that kind of description is not supported" },
    { -12716, "kCMFormatDescriptionBridgeError_IncompatibleFormatDescription",
        "the description has no counterpart in that kind" },
    { -12715, "kCMFormatDescriptionBridgeError_InvalidFormatDescription", "the format description is damaged" },
    { -12714, "kCMFormatDescriptionBridgeError_InvalidSerializedSampleDescription",
        "the written description is damaged" },
    { -12713, "kCMFormatDescriptionBridgeError_AllocationFailed", "there is not enough memory to write a description" },
    { -12712, "kCMFormatDescriptionBridgeError_InvalidParameter", "an argument about a written description is wrong" },
    { -12711, "kCMFormatDescriptionError_AllocationFailed", "there is not enough memory for a format description" },
    { -12710, "kCMFormatDescriptionError_InvalidParameter", "an argument of a format description is wrong" },
    { -12708, "kCMBlockBufferInsufficientSpaceErr", "the block has no room for that" },
    { -12707, "kCMBlockBufferUnallocatedBlockErr", "the block's memory is not there" },
    { -12706, "kCMBlockBufferEmptyBBufErr", "the block buffer is empty" },
    { -12705, "kCMBlockBufferBadPointerParameterErr", "an address of a block is wrong" },
    { -12704, "kCMBlockBufferBadLengthParameterErr", "a length of a block is wrong" },
    { -12703, "kCMBlockBufferBadOffsetParameterErr", "an offset into a block is wrong" },
    { -12702, "kCMBlockBufferBadCustomBlockSourceErr", "the block's own source of memory is wrong" },
    { -12701, "kCMBlockBufferBlockAllocationFailedErr", "there is not enough memory for a block" },
    { -12700, "kCMBlockBufferStructureAllocationFailedErr", "there is not enough memory for a block buffer" },
    // Video coders.
    { -12919, "kVTColorSyncTransformConvertFailedErr", "the colours could not be converted" },
    { -12918, "kVTCouldNotCreateColorCorrectionDataErr", "the colour correction could not be prepared" },
    { -12917, "kVTInsufficientSourceColorDataErr", "the source says too little about its colours" },
    { -12916, "kVTFormatDescriptionChangeNotSupportedErr", "the format may not change while the session runs" },
    { -12915, "kVTVideoEncoderNotAvailableNowErr", "no video encoder is free now" },
    { -12914, "kVTImageRotationNotSupportedErr", "pictures cannot be turned" },
    { -12913, "kVTVideoDecoderNotAvailableNowErr", "no video decoder is free now" },
    { -12912, "kVTVideoEncoderMalfunctionErr", "the video encoder failed" },
    { -12911, "kVTVideoDecoderMalfunctionErr", "the video decoder failed" },
    { -12910, "kVTVideoDecoderUnsupportedDataFormatErr", "the video decoder does not know that format" },
    { -12909, "kVTVideoDecoderBadDataErr", "the video data is damaged" },
    { -12908, "kVTCouldNotFindVideoEncoderErr", "there is no video encoder for that" },
    { -12907, "kVTCouldNotCreateInstanceErr", "the video coder could not be started" },
    { -12906, "kVTCouldNotFindVideoDecoderErr", "there is no video decoder for that" },
    { -12905, "kVTPixelTransferNotSupportedErr", "pixels cannot be converted that way" },
    { -12904, "kVTAllocationFailedErr", "there is not enough memory for a video session" },
    { -12903, "kVTInvalidSessionErr", "the video session is over" },
    { -12902, "kVTParameterErr", "an argument of a video session is wrong" },
    { -12901, "kVTPropertyReadOnlyErr", "the property may only be read" },
    { -12900, "kVTPropertyNotSupportedErr", "the video session does not have that property" },
    { -12219, "kVTColorCorrectionImageRotationFailedErr",
        "the picture could not be turned while its colours were corrected" },
    { -12218, "kVTPixelTransferNotPermittedErr", "the pixels may not be converted" },
    { -12217, "kVTCouldNotFindTemporalFilterErr", "there is no filter over time for that" },
    { -12216, "kVTFrameSiloInvalidTimeRangeErr", "the store of frames does not have that stretch of time" },
    { -12215, "kVTFrameSiloInvalidTimeStampErr", "the frame's time does not fit the store of frames" },
    { -12214, "kVTMultiPassStorageInvalidErr", "the store between two passes is damaged" },
    { -12213, "kVTMultiPassStorageIdentifierMismatchErr", "the store between two passes belongs to another session" },
    { -12212, "kVTColorCorrectionPixelTransferFailedErr",
        "the pixels could not be converted while their colours were corrected" },
    { -12211, "kVTVideoEncoderAuthorizationErr", "the video encoder may not be used" },
    { -12210, "kVTVideoDecoderAuthorizationErr", "the video decoder may not be used" },
    // Pixel buffers.
    { -6660, "kCVReturnError", "a video operation failed" },
    { -6661, "kCVReturnInvalidArgument", "an argument of a video operation is wrong" },
    { -6662, "kCVReturnAllocationFailed", "there is not enough memory for a video buffer" },
    { -6670, "kCVReturnInvalidDisplay", "there is no such display" },
    { -6671, "kCVReturnDisplayLinkAlreadyRunning", "the display's clock is running" },
    { -6672, "kCVReturnDisplayLinkNotRunning", "the display's clock is not running" },
    { -6673, "kCVReturnDisplayLinkCallbacksNotSet", "the display's clock has nothing to call" },
    { -6680, "kCVReturnInvalidPixelFormat", "the pixel format is not supported" },
    { -6681, "kCVReturnInvalidSize", "the size of a pixel buffer is not supported" },
    { -6682, "kCVReturnInvalidPixelBufferAttributes", "the attributes of a pixel buffer are wrong" },
    { -6683, "kCVReturnPixelBufferNotOpenGLCompatible", "OpenGL cannot use the pixel buffer" },
    { -6690, "kCVReturnPoolAllocationFailed", "the pool could not make a buffer" },
    { -6691, "kCVReturnInvalidPoolAttributes", "the attributes of a pool are wrong" },
    // Cameras.
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
    // Drawing.
    { 1000, "kCGErrorFailure", "a drawing operation failed" },
    { 1001, "kCGErrorIllegalArgument", "an argument of a drawing operation is wrong" },
    { 1002, "kCGErrorInvalidConnection", "the connection to the display is gone" },
    { 1003, "kCGErrorInvalidContext", "there is nothing to draw on" },
    { 1004, "kCGErrorCannotComplete", "the drawing operation could not be finished" },
    { 1006, "kCGErrorNotImplemented", "the drawing operation does not exist here" },
    { 1007, "kCGErrorRangeCheck", "a value of a drawing operation is out of range" },
    { 1008, "kCGErrorTypeCheck", "a value of a drawing operation is of a wrong type" },
    { 1010, "kCGErrorInvalidOperation", "the drawing operation is not allowed now" },
    { 1011, "kCGErrorNoneAvailable", "there is none of what was asked for" },
    // Graphics contexts.
    { 10000, "kCGLBadAttribute", "the pixel format attribute is wrong" },
    { 10001, "kCGLBadProperty", "the renderer property is wrong" },
    { 10002, "kCGLBadPixelFormat", "the pixel format is wrong" },
    { 10003, "kCGLBadRendererInfo", "the renderer information is wrong" },
    { 10004, "kCGLBadContext", "the graphics context is wrong" },
    { 10005, "kCGLBadDrawable", "the surface to draw on is wrong" },
    { 10006, "kCGLBadDisplay", "the display is wrong" },
    { 10007, "kCGLBadState", "the graphics context is not in the state for that" },
    { 10008, "kCGLBadValue", "a value of a graphics context is wrong" },
    { 10009, "kCGLBadMatch", "the two graphics contexts do not fit each other" },
    { 10010, "kCGLBadEnumeration", "the constant is wrong" },
    { 10011, "kCGLBadOffScreen", "the memory to draw in is wrong" },
    { 10012, "kCGLBadFullScreen", "the whole screen cannot be drawn on" },
    { 10013, "kCGLBadWindow", "the window is wrong" },
    { 10014, "kCGLBadAddress", "the address is wrong" },
    { 10015, "kCGLBadCodeModule", "the graphics driver cannot be loaded" },
    { 10016, "kCGLBadAlloc", "there is not enough memory for a graphics context" },
    { 10017, "kCGLBadConnection", "the connection to the graphics system is gone" },
    // OpenGL.
    { 1280, "GL_INVALID_ENUM", "OpenGL does not know the constant" },
    { 1281, "GL_INVALID_VALUE", "a number is out of OpenGL's range" },
    { 1282, "GL_INVALID_OPERATION", "OpenGL does not allow the operation now" },
    { 1283, "GL_STACK_OVERFLOW", "a stack of OpenGL is full" },
    { 1284, "GL_STACK_UNDERFLOW", "a stack of OpenGL is empty" },
    { 1285, "GL_OUT_OF_MEMORY", "there is not enough memory for OpenGL" },
    { 1286, "GL_INVALID_FRAMEBUFFER_OPERATION", "the framebuffer is not complete" },
};

/// One code has one name.
constexpr bool isUnambiguous()
{
    return std::ranges::all_of(sStatusWords, [](const StatusWords& words) {
        return std::ranges::count(sStatusWords, words.status, &StatusWords::status) == 1;
    });
}
static_assert(isUnambiguous());

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
