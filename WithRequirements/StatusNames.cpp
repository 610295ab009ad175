#include "WithRequirements/StatusNames.h"

#include <iterator>

namespace {

constexpr OSStatus fourCharacters(const char (&text)[5])
{
    OSType code = 0;
    for (int index = 0; index < 4; ++index)
        code = code << 8 | static_cast<unsigned char>(text[index]);
    return static_cast<OSStatus>(code);
}

/// What is printed for the errors from 1280 on. The two stack errors have no text of their own, which is meant.
constexpr const char* sGLErrorTexts[] = {
    "GL_INVALID_ENUM An unacceptable value is specified for an enumerated argument. "
    "The offending command is ignored and has no other side effect than to set the error flag.",
    "GL_INVALID_VALUE A numeric argument is out of range. "
    "The offending command is ignored and has no other side effect than to set the error flag.",
    "GL_INVALID_OPERATION The specified operation is not allowed in the current state. "
    "The offending command is ignored and has no other side effect than to set the error flag.",
    "GL_NO_ERROR",
    "GL_NO_ERROR",
    "GL_OUT_OF_MEMORY There is not enough memory left to execute the command. "
    "The state of the GL is undefined, except for the state of the error flags, after this error is recorded.",
    "GL_INVALID_FRAMEBUFFER_OPERATION",
};
constexpr std::int32_t sGLErrorFirst = 1280;

}

namespace StatusNames {

const char* coreMedia(OSStatus status)
{
    switch (status) {
    case -16751:
        return "kCMSampleBufferError_DataCanceled";
    case -16750:
        return "kCMSampleBufferError_DataFailed";
    case -16308:
        return "kCMMetadataIdentifierError_NoKeyValueAvailable";
    case -16307:
        return "kCMMetadataIdentifierError_BadIdentifier";
    case -16306:
        return "kCMMetadataIdentifierError_BadKeySpace";
    case -16305:
        return "kCMMetadataIdentifierError_BadNumberKey";
    case -16304:
        return "kCMMetadataIdentifierError_BadKeyType";
    case -16303:
        return "kCMMetadataIdentifierError_BadKeyLength";
    case -16302:
        return "kCMMetadataIdentifierError_BadKey";
    case -16301:
        return "kCMMetadataIdentifierError_RequiredParameterMissing";
    case -16300:
        return "kCMMetadataIdentifierError_AllocationFailed";
    case -15491:
        return "kCMMemoryPoolError_InvalidParameter";
    case -15490:
        return "kCMMemoryPoolError_AllocationFailed";
    case -12773:
        return "kCMSimpleQueueError_QueueIsFull";
    case -12772:
        return "kCMSimpleQueueError_ParameterOutOfRange";
    case -12771:
        return "kCMSimpleQueueError_RequiredParameterMissing";
    case -12770:
        return "kCMSimpleQueueError_AllocationFailed";
    case -12769:
        return "kCMBufferQueueError_InvalidBuffer";
    case -12768:
        return "kCMBufferQueueError_InvalidTriggerToken";
    case -12767:
        return "kCMBufferQueueError_InvalidTriggerCondition";
    case -12766:
        return "kCMBufferQueueError_CannotModifyQueueFromTriggerCallback";
    case -12765:
        return "kCMBufferQueueError_BadTriggerDuration";
    case -12764:
        return "kCMBufferQueueError_QueueIsFull";
    case -12763:
        return "kCMBufferQueueError_EnqueueAfterEndOfData";
    case -12762:
        return "kCMBufferQueueError_InvalidCMBufferCallbacksStruct";
    case -12761:
        return "kCMBufferQueueError_RequiredParameterMissing";
    case -12760:
        return "kCMBufferQueueError_AllocationFailed";
    case -12757:
        return "kCMTimebaseError_ReadOnly";
    case -12756:
        return "kCMClockError_UnsupportedOperation";
    case -12755:
        return "kCMSyncError_RateMustBeNonZero";
    case -12754:
        return "kCMSyncError_AllocationFailed";
    case -12753:
        return "kCMSyncError_InvalidParameter";
    case -12752:
        return "kCMSyncError_MissingRequiredParameter";
    case -12751:
        return "kCMTimebaseError_TimerIntervalTooShort";
    case -12750:
        return "kCMTimebaseError_AllocationFailed";
    case -12749:
        return "kCMTimebaseError_InvalidParameter";
    case -12748:
        return "kCMTimebaseError_MissingRequiredParameter";
    case -12747:
        return "kCMClockError_AllocationFailed";
    case -12746:
        return "kCMClockError_InvalidParameter";
    case -12745:
        return "kCMClockError_MissingRequiredParameter";
    case -12744:
        return "kCMSampleBufferError_Invalidated";
    case -12743:
        return "kCMSampleBufferError_InvalidMediaFormat";
    case -12742:
        return "kCMSampleBufferError_InvalidSampleData";
    case -12741:
        return "kCMSampleBufferError_InvalidMediaTypeForOperation";
    case -12740:
        return "kCMSampleBufferError_SampleTimingInfoInvalid";
    case -12739:
        return "kCMSampleBufferError_CannotSubdivide";
    case -12738:
        return "kCMSampleBufferError_InvalidEntryCount";
    case -12737:
        return "kCMSampleBufferError_ArrayTooSmall";
    case -12736:
        return "kCMSampleBufferError_BufferHasNoSampleTimingInfo";
    case -12735:
        return "kCMSampleBufferError_BufferHasNoSampleSizes";
    case -12734:
        return "kCMSampleBufferError_SampleIndexOutOfRange";
    case -12733:
        return "kCMSampleBufferError_BufferNotReady";
    case -12732:
        return "kCMSampleBufferError_AlreadyHasDataBuffer";
    case -12731:
        return "kCMSampleBufferError_RequiredParameterMissing";
    case -12730:
        return "kCMSampleBufferError_AllocationFailed";
    case -12719:
        return "kCMFormatDescriptionBridgeError_InvalidSlice";
    case -12718:
        return "kCMFormatDescriptionError_ValueNotAvailable";
    case -12717:
        return "kCMFormatDescriptionBridgeError_UnsupportedSampleDescriptionFlavor";
    case -12716:
        return "kCMFormatDescriptionBridgeError_IncompatibleFormatDescription";
    case -12715:
        return "kCMFormatDescriptionBridgeError_InvalidFormatDescription";
    case -12714:
        return "kCMFormatDescriptionBridgeError_InvalidSerializedSampleDescription";
    case -12713:
        return "kCMFormatDescriptionBridgeError_AllocationFailed";
    case -12712:
        return "kCMFormatDescriptionBridgeError_InvalidParameter";
    case -12711:
        return "kCMFormatDescriptionError_AllocationFailed";
    case -12710:
        return "kCMFormatDescriptionError_InvalidParameter";
    case -12708:
        return "kCMBlockBufferInsufficientSpaceErr";
    case -12707:
        return "kCMBlockBufferUnallocatedBlockErr";
    case -12706:
        return "kCMBlockBufferEmptyBBufErr";
    case -12705:
        return "kCMBlockBufferBadPointerParameterErr";
    case -12704:
        return "kCMBlockBufferBadLengthParameterErr";
    case -12703:
        return "kCMBlockBufferBadOffsetParameterErr";
    case -12702:
        return "kCMBlockBufferBadCustomBlockSourceErr";
    case -12701:
        return "kCMBlockBufferBlockAllocationFailedErr";
    case -12700:
        return "kCMBlockBufferStructureAllocationFailedErr";
    default:
        return nullptr;
    }
}

const char* videoToolbox(OSStatus status)
{
    switch (status) {
    case -12919:
        return "kVTColorSyncTransformConvertFailedErr";
    case -12918:
        return "kVTCouldNotCreateColorCorrectionDataErr";
    case -12917:
        return "kVTInsufficientSourceColorDataErr";
    case -12916:
        return "kVTFormatDescriptionChangeNotSupportedErr";
    case -12915:
        return "kVTVideoEncoderNotAvailableNowErr";
    case -12914:
        return "kVTImageRotationNotSupportedErr";
    case -12913:
        return "kVTVideoDecoderNotAvailableNowErr";
    case -12912:
        return "kVTVideoEncoderMalfunctionErr";
    case -12911:
        return "kVTVideoDecoderMalfunctionErr";
    case -12910:
        return "kVTVideoDecoderUnsupportedDataFormatErr";
    case -12909:
        return "kVTVideoDecoderBadDataErr";
    case -12908:
        return "kVTCouldNotFindVideoEncoderErr";
    case -12907:
        return "kVTCouldNotCreateInstanceErr";
    case -12906:
        return "kVTCouldNotFindVideoDecoderErr";
    case -12905:
        return "kVTPixelTransferNotSupportedErr";
    case -12904:
        return "kVTAllocationFailedErr";
    case -12903:
        return "kVTInvalidSessionErr";
    case -12902:
        return "kVTParameterErr";
    case -12901:
        return "kVTPropertyReadOnlyErr";
    case -12900:
        return "kVTPropertyNotSupportedErr";
    case -12219:
        return "kVTColorCorrectionImageRotationFailedErr";
    case -12218:
        return "kVTPixelTransferNotPermittedErr";
    case -12217:
        return "kVTCouldNotFindTemporalFilterErr";
    case -12216:
        return "kVTFrameSiloInvalidTimeRangeErr";
    case -12215:
        return "kVTFrameSiloInvalidTimeStampErr";
    case -12214:
        return "kVTMultiPassStorageInvalidErr";
    case -12213:
        return "kVTMultiPassStorageIdentifierMismatchErr";
    case -12212:
        return "kVTColorCorrectionPixelTransferFailedErr";
    case -12211:
        return "kVTVideoEncoderAuthorizationErr";
    case -12210:
        return "kVTVideoDecoderAuthorizationErr";
    default:
        return nullptr;
    }
}

const char* coreVideo(OSStatus status)
{
    switch (status) {
    case 0:
        return "kCVReturnSuccess";
    case -6660:
        return "kCVReturnError";
    case -6661:
        return "kCVReturnInvalidArgument";
    case -6662:
        return "kCVReturnAllocationFailed";
    case -6670:
        return "kCVReturnInvalidDisplay";
    case -6671:
        return "kCVReturnDisplayLinkAlreadyRunning";
    case -6672:
        return "kCVReturnDisplayLinkNotRunning";
    case -6673:
        return "kCVReturnDisplayLinkCallbacksNotSet";
    case -6680:
        return "kCVReturnInvalidPixelFormat";
    case -6681:
        return "kCVReturnInvalidSize";
    case -6682:
        return "kCVReturnInvalidPixelBufferAttributes";
    case -6683:
        return "kCVReturnPixelBufferNotOpenGLCompatible";
    case -6690:
        return "kCVReturnPoolAllocationFailed";
    case -6691:
        return "kCVReturnInvalidPoolAttributes";
    default:
        return nullptr;
    }
}

const char* coreMediaIO(OSStatus status)
{
    switch (status) {
    case 0:
        return "kCMIOHardwareNoError";
    case fourCharacters("!dat"):
        return "kCMIODeviceUnsupportedFormatError";
    case fourCharacters("!dev"):
        return "kCMIOHardwareBadDeviceError";
    case fourCharacters("!hog"):
        return "kCMIODevicePermissionsError";
    case fourCharacters("!obj"):
        return "kCMIOHardwareBadObjectError";
    case fourCharacters("!siz"):
        return "kCMIOHardwareBadPropertySizeError";
    case fourCharacters("!str"):
        return "kCMIOHardwareBadStreamError";
    case fourCharacters("deny"):
        return "kCMIOHardwareSuspendedBySystemError";
    case fourCharacters("nope"):
        return "kCMIOHardwareIllegalOperationError";
    case fourCharacters("run "):
        return "kCMIOHardwareNotStoppedError";
    case fourCharacters("stop"):
        return "kCMIOHardwareNotRunningError";
    case fourCharacters("unop"):
        return "kCMIOHardwareUnsupportedOperationError";
    case fourCharacters("what"):
        return "kCMIOHardwareUnspecifiedError";
    case fourCharacters("who?"):
        return "kCMIOHardwareUnknownPropertyError";
    default:
        return nullptr;
    }
}

const char* coreGraphics(OSStatus status)
{
    switch (status) {
    case 0:
        return "kCGErrorSuccess";
    case 1000:
        return "kCGErrorFailure";
    case 1001:
        return "kCGErrorIllegalArgument";
    case 1002:
        return "kCGErrorInvalidConnection";
    case 1003:
        return "kCGErrorInvalidContext";
    case 1004:
        return "kCGErrorCannotComplete";
    case 1006:
        return "kCGErrorNotImplemented";
    case 1007:
        return "kCGErrorRangeCheck";
    case 1008:
        return "kCGErrorTypeCheck";
    case 1010:
        return "kCGErrorInvalidOperation";
    case 1011:
        return "kCGErrorNoneAvailable";
    default:
        return nullptr;
    }
}

const char* cgl(OSStatus status)
{
    switch (status) {
    case 10000:
        return "kCGLBadAttribute";
    case 10001:
        return "kCGLBadProperty";
    case 10002:
        return "kCGLBadPixelFormat";
    case 10003:
        return "kCGLBadRendererInfo";
    case 10004:
        return "kCGLBadContext";
    case 10005:
        return "kCGLBadDrawable";
    case 10006:
        return "kCGLBadDisplay";
    case 10007:
        return "kCGLBadState";
    case 10008:
        return "kCGLBadValue";
    case 10009:
        return "kCGLBadMatch";
    case 10010:
        return "kCGLBadEnumeration";
    case 10011:
        return "kCGLBadOffScreen";
    case 10012:
        return "kCGLBadFullScreen";
    case 10013:
        return "kCGLBadWindow";
    case 10014:
        return "kCGLBadAddress";
    case 10015:
        return "kCGLBadCodeModule";
    case 10016:
        return "kCGLBadAlloc";
    case 10017:
        return "kCGLBadConnection";
    default:
        return nullptr;
    }
}

const char* openGL(std::int32_t error)
{
    if (error < sGLErrorFirst || error >= sGLErrorFirst + static_cast<std::int32_t>(std::size(sGLErrorTexts)))
        return "GL_NO_ERROR";
    return sGLErrorTexts[error - sGLErrorFirst];
}

}
