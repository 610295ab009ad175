#include "WithRequirements/RequiredStatusNames.h"

#include "tests/WithRequirements/StandardErrorCapture.h"
#include "WithRequirements/StatusNames.h"

#include <gtest/gtest.h>

#include <set>

namespace {

int countNames(const char* (*nameOf)(OSStatus), OSStatus first, OSStatus last)
{
    std::set<std::string> names;
    for (auto status = first; status <= last; ++status) {
        const auto* const name = nameOf(status);
        EXPECT_TRUE(!name || names.insert(name).second) << name;
    }
    return static_cast<int>(names.size());
}

}

TEST(StatusNames, CoreMediaRunsStartAndEndWhereTheyShould)
{
    using StatusNames::coreMedia;
    EXPECT_EQ(countNames(coreMedia, -17000, 100), 74);
    EXPECT_STREQ(coreMedia(-16751), "kCMSampleBufferError_DataCanceled");
    EXPECT_STREQ(coreMedia(-16750), "kCMSampleBufferError_DataFailed");
    EXPECT_STREQ(coreMedia(-16308), "kCMMetadataIdentifierError_NoKeyValueAvailable");
    EXPECT_STREQ(coreMedia(-16300), "kCMMetadataIdentifierError_AllocationFailed");
    EXPECT_STREQ(coreMedia(-15491), "kCMMemoryPoolError_InvalidParameter");
    EXPECT_STREQ(coreMedia(-15490), "kCMMemoryPoolError_AllocationFailed");
    EXPECT_STREQ(coreMedia(-12773), "kCMSimpleQueueError_QueueIsFull");
    EXPECT_STREQ(coreMedia(-12764), "kCMBufferQueueError_QueueIsFull");
    EXPECT_STREQ(coreMedia(-12760), "kCMBufferQueueError_AllocationFailed");
    EXPECT_STREQ(coreMedia(-12757), "kCMTimebaseError_ReadOnly");
    EXPECT_STREQ(coreMedia(-12744), "kCMSampleBufferError_Invalidated");
    EXPECT_STREQ(coreMedia(-12730), "kCMSampleBufferError_AllocationFailed");
    EXPECT_STREQ(coreMedia(-12719), "kCMFormatDescriptionBridgeError_InvalidSlice");
    EXPECT_STREQ(coreMedia(-12710), "kCMFormatDescriptionError_InvalidParameter");
    EXPECT_STREQ(coreMedia(-12708), "kCMBlockBufferInsufficientSpaceErr");
    EXPECT_STREQ(coreMedia(-12700), "kCMBlockBufferStructureAllocationFailedErr");
    for (const OSStatus status : { -12759, -12758, -12729, -12720, -12709, 0 })
        EXPECT_EQ(coreMedia(status), nullptr) << status;
}

TEST(StatusNames, OtherTablesStartAndEndWhereTheyShould)
{
    EXPECT_EQ(countNames(StatusNames::videoToolbox, -13000, 0), 30);
    EXPECT_STREQ(StatusNames::videoToolbox(-12919), "kVTColorSyncTransformConvertFailedErr");
    EXPECT_STREQ(StatusNames::videoToolbox(-12900), "kVTPropertyNotSupportedErr");
    EXPECT_STREQ(StatusNames::videoToolbox(-12219), "kVTColorCorrectionImageRotationFailedErr");
    EXPECT_STREQ(StatusNames::videoToolbox(-12210), "kVTVideoDecoderAuthorizationErr");
    EXPECT_EQ(countNames(StatusNames::coreVideo, -7000, 0), 14);
    EXPECT_STREQ(StatusNames::coreVideo(-6683), "kCVReturnPixelBufferNotOpenGLCompatible");
    EXPECT_STREQ(StatusNames::coreVideo(-6691), "kCVReturnInvalidPoolAttributes");
    EXPECT_EQ(countNames(StatusNames::coreGraphics, 0, 2000), 11);
    EXPECT_STREQ(StatusNames::coreGraphics(1004), "kCGErrorCannotComplete");
    EXPECT_EQ(StatusNames::coreGraphics(1005), nullptr);
    EXPECT_STREQ(StatusNames::coreGraphics(1011), "kCGErrorNoneAvailable");
    EXPECT_EQ(countNames(StatusNames::cgl, 0, 20000), 18);
    EXPECT_STREQ(StatusNames::cgl(10000), "kCGLBadAttribute");
    EXPECT_STREQ(StatusNames::cgl(10017), "kCGLBadConnection");
    EXPECT_STREQ(StatusNames::coreMediaIO(0), "kCMIOHardwareNoError");
    EXPECT_STREQ(StatusNames::coreMediaIO(0x72756e20), "kCMIOHardwareNotStoppedError");
    EXPECT_STREQ(StatusNames::coreMediaIO(0x77686f3f), "kCMIOHardwareUnknownPropertyError");
}

TEST(RequiredStatusNames, CoreMediaWritesTwoLinesWithOneLocation)
{
    StandardErrorCapture capture;
    __CoreMediaOSStatusRequiredBody(-12764, "function", "File.cpp", 5, "SRC>>call()");
    EXPECT_EQ(capture.text(),
        "REQUIRED_CMSTATUS -12764:kCMBufferQueueError_QueueIsFull (-12764) - SRC>>call() in function:5 (File.cpp)\n"
        "REQUIRED_OSSTATUS(-12764) kCMBufferQueueError_QueueIsFull-'the queue holds as many buffers as it can' - "
        "SRC>>call() in function:5 (File.cpp)\n");
}

TEST(RequiredStatusNames, CodeWithoutANamePrintsAsItsValue)
{
    StandardErrorCapture capture;
    __CoreMediaOSStatusRequiredBody(-12759, "function", "File.cpp", 5, "SRC>>call()");
    EXPECT_EQ(capture.text(),
        "REQUIRED_CMSTATUS -12759:statusValue=-12759 - SRC>>call() in function:5 (File.cpp)\n"
        "REQUIRED_OSSTATUS(-12759) unknownErr-'no words for this status' - SRC>>call() in function:5 (File.cpp)\n");
}

TEST(RequiredStatusNames, VideoToolboxAndCoreMediaIOWriteTwoLinesToo)
{
    StandardErrorCapture capture;
    __VideoToolboxRequiredBody(-12902, "function", "File.cpp", 5, "SRC>>x");
    __CoreMediaIOStatusRequiredBody(0x77686f3f, "function", "File.cpp", 6, "SRC>>y");
    EXPECT_EQ(capture.text(),
        "REQUIRED_VTSTATUS -12902:kVTParameterErr (-12902) - SRC>>x in function:5 (File.cpp)\n"
        "REQUIRED_OSSTATUS(-12902) unknownErr-'no words for this status' - SRC>>x in function:5 (File.cpp)\n"
        "REQUIRED_CMIOSTATUS 2003332927:kCMIOHardwareUnknownPropertyError (2003332927) - SRC>>y in function:6 "
        "(File.cpp)\n"
        "REQUIRED_OSSTATUS(2003332927) kCMIOHardwareUnknownPropertyError-'the object does not have that property' - "
        "SRC>>y in function:6 (File.cpp)\n");
}

TEST(RequiredStatusNames, CoreVideoHasNoNumberOfItsOwnAndKnowsSuccess)
{
    StandardErrorCapture capture;
    __CoreVideoRequiredBody(0, "function", "File.cpp", 1, "SRC>>x");
    __CoreVideoRequiredBody(-6690, "function", "File.cpp", 2, "SRC>>x");
    __CoreVideoRequiredBody(-1, "function", "File.cpp", 3, "SRC>>x");
    EXPECT_EQ(capture.text(),
        "REQUIRED_CVRETURN FAILED: kCVReturnSuccess (0) - SRC>>x in function:1 (File.cpp)\n"
        "REQUIRED_CVRETURN FAILED: kCVReturnPoolAllocationFailed (-6690) - SRC>>x in function:2 (File.cpp)\n"
        "REQUIRED_CVRETURN FAILED: statusValue=-1 - SRC>>x in function:3 (File.cpp)\n");
}

TEST(RequiredStatusNames, GraphicsKindsWriteOneLine)
{
    StandardErrorCapture capture;
    __CoreGraphicsCGErrorRequiredBody(1001, "function", "File.cpp", 1, "SRC>>x");
    __CGLErrorRequiredBody(10002, "function", "File.cpp", 2, "SRC>>x");
    EXPECT_EQ(capture.text(),
        "REQUIRED_CGERROR 1001:kCGErrorIllegalArgument (1001) - SRC>>x in function:1 (File.cpp)\n"
        "REQUIRED_CGLERROR 10002:kCGLBadPixelFormat (10002) - SRC>>x in function:2 (File.cpp)\n");
}

TEST(RequiredStatusNames, OpenGLPrintsATextAndHasNoSource)
{
    StandardErrorCapture capture;
    __GLRequiredBody(1283, "File.cpp", "function", 1);
    __GLRequiredBody(1286, "File.cpp", "function", 2);
    __GLRequiredBody(1287, "File.cpp", "function", 3);
    __GLRequiredBody(1280, "File.cpp", "function", 4);
    EXPECT_EQ(capture.text(),
        "REQUIRED_OPENGL: GL_NO_ERROR (1283) -  in File.cpp:1 (function)\n"
        "REQUIRED_OPENGL: GL_INVALID_FRAMEBUFFER_OPERATION (1286) -  in File.cpp:2 (function)\n"
        "REQUIRED_OPENGL: GL_NO_ERROR (1287) -  in File.cpp:3 (function)\n"
        "REQUIRED_OPENGL: GL_INVALID_ENUM An unacceptable value is specified for an enumerated argument. The offending "
        "command is ignored and has no other side effect than to set the error flag. (1280) -  in File.cpp:4 "
        "(function)\n");
}

TEST(RequiredStatusNames, TimeIsTracedWithItsLabel)
{
    StandardErrorCapture capture;
    __CoreMediaCMTimeLogMessage("/a/File.cpp", "function", 8, CMTimeMake(1, 2), "ignored", "LABEL");
    __CoreMediaCMTimeLogMessage(nullptr, "function", 8, CMTimeMake(1, 2), "ignored", "LABEL");
    EXPECT_EQ(capture.text(), "CMTime '{1/2 = 0.500}' LABEL {File.cpp:8 function}\n\n");
}
