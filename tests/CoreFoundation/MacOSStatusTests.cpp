#include "Platform/CoreFoundation/MacOSStatus.h"

#include <gtest/gtest.h>

TEST(MacOSStatus, GeneralFileAndMemoryErrorsHaveTheirNames)
{
    const std::pair<OSStatus, const char*> errors[] = { { 0, "noErr" }, { -4, "unimpErr" }, { -34, "dskFulErr" },
        { -36, "ioErr" }, { -37, "bdNamErr" }, { -38, "fnOpnErr" }, { -39, "eofErr" }, { -42, "tmfoErr" },
        { -43, "fnfErr" }, { -44, "wPrErr" }, { -45, "fLckdErr" }, { -47, "fBsyErr" }, { -48, "dupFNErr" },
        { -49, "opWrErr" }, { -50, "paramErr" }, { -54, "permErr" }, { -61, "wrPermErr" }, { -108, "memFullErr" },
        { -109, "nilHandleErr" }, { -117, "memLockedErr" }, { -120, "dirNFErr" }, { -128, "userCanceledErr" } };
    for (const auto& [status, name] : errors)
        EXPECT_STREQ(GetMacOSStatusErrorString(status), name);
    EXPECT_STREQ(GetMacOSStatusCommentString(0), "no error");
    EXPECT_STREQ(GetMacOSStatusCommentString(-50), "an argument is wrong");
    EXPECT_STREQ(GetMacOSStatusCommentString(-108), "there is not enough memory");
}

TEST(MacOSStatus, FrameworksErrorsHaveThePublishedNames)
{
    EXPECT_STREQ(GetMacOSStatusErrorString(-12764), "kCMBufferQueueError_QueueIsFull");
    EXPECT_STREQ(GetMacOSStatusErrorString(-12902), "kVTParameterErr");
    EXPECT_STREQ(GetMacOSStatusErrorString(-6690), "kCVReturnPoolAllocationFailed");
    EXPECT_STREQ(GetMacOSStatusErrorString(0x77686f3f), "kCMIOHardwareUnknownPropertyError");
    EXPECT_STREQ(GetMacOSStatusErrorString(1001), "kCGErrorIllegalArgument");
    EXPECT_STREQ(GetMacOSStatusErrorString(10002), "kCGLBadPixelFormat");
    EXPECT_STREQ(GetMacOSStatusErrorString(1285), "GL_OUT_OF_MEMORY");
}

TEST(MacOSStatus, OtherCodesHaveWordsToo)
{
    for (const OSStatus status : { INT32_MIN, -12758, -129, -118, -62, -32, 999, 1005, 1287, 10018, INT32_MAX }) {
        EXPECT_STREQ(GetMacOSStatusErrorString(status), "unknownErr") << status;
        EXPECT_STREQ(GetMacOSStatusCommentString(status), "no words for this status") << status;
    }
}
