#include "WithRequirements/RequiredStatusNames.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/MacOSStatus.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"
#include "tests/WithRequirements/ListedStatuses.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "WithRequirements/Requirements.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using Body = void (*)(OSStatus, const char*, const char*, int, const char*);

/// One kind of status: its body, its codes, and how its lines read.
struct Kind {
    const char* name;
    Body body;
    std::span<const ListedStatus> listed;
    const char* word; ///< what the line starts with
    bool hasNumber; ///< whether the code stands behind the word
    bool hasSecondLine;
};

std::ostream& operator<<(std::ostream& stream, const Kind& kind)
{
    return stream << kind.name;
}

const Kind sKinds[] = {
    { "CoreMedia", __CoreMediaOSStatusRequiredBody, sCoreMediaStatuses, "REQUIRED_CMSTATUS ", true, true },
    { "VideoToolbox", __VideoToolboxRequiredBody, sVideoToolboxStatuses, "REQUIRED_VTSTATUS ", true, true },
    { "CoreMediaIO", __CoreMediaIOStatusRequiredBody, sCoreMediaIOStatuses, "REQUIRED_CMIOSTATUS ", true, true },
    { "CoreVideo", __CoreVideoRequiredBody, sCoreVideoStatuses, "REQUIRED_CVRETURN FAILED: ", false, false },
    { "CoreGraphics", __CoreGraphicsCGErrorRequiredBody, sCoreGraphicsStatuses, "REQUIRED_CGERROR ", true, false },
    { "CGL", __CGLErrorRequiredBody, sCGLStatuses, "REQUIRED_CGLERROR ", true, false },
};

/// All that the kind's body is to write for a code with this text.
std::string expectedLines(const Kind& kind, OSStatus code, const std::string& codeText)
{
    const auto number = std::to_string(code);
    const std::string location = " - SRC>>call(a, b) in function:77 (File.cpp)\n";
    auto lines = kind.word + (kind.hasNumber ? number + ":" : "") + codeText + location;
    if (kind.hasSecondLine)
        lines += "REQUIRED_OSSTATUS(" + number + ") " + GetMacOSStatusErrorString(code) + "-'"
            + GetMacOSStatusCommentString(code) + "'" + location;
    return lines;
}

std::string textOfListed(const ListedStatus& listed)
{
    return std::string(listed.name) + " (" + std::to_string(listed.code) + ")";
}

class StatusKind : public testing::TestWithParam<Kind> { };

INSTANTIATE_TEST_SUITE_P(All, StatusKind, testing::ValuesIn(sKinds), [](const auto& kind) { return kind.param.name; });

}

TEST_P(StatusKind, EveryListedCodeWritesItsNameInWholeLines)
{
    const auto& kind = GetParam();
    StandardErrorCapture capture;
    std::string expected;
    for (const auto& listed : kind.listed) {
        kind.body(listed.code, "function", "File.cpp", 77, "SRC>>call(a, b)");
        expected += expectedLines(kind, listed.code, textOfListed(listed));
    }
    EXPECT_EQ(capture.text(), expected);
}

TEST_P(StatusKind, CodesBesideTheListedOnesWriteTheirValue)
{
    const auto& kind = GetParam();
    std::set<OSStatus> codes { 0, 1, -1, INT32_MIN, INT32_MAX };
    for (const auto& listed : kind.listed)
        codes.insert({ listed.code - 1, listed.code + 1 });
    for (const auto& listed : kind.listed)
        codes.erase(listed.code);
    StandardErrorCapture capture;
    std::string expected;
    for (const auto code : codes) {
        kind.body(code, "function", "File.cpp", 77, "SRC>>call(a, b)");
        expected += expectedLines(kind, code, "statusValue=" + std::to_string(code));
    }
    EXPECT_EQ(capture.text(), expected);
}

TEST_P(StatusKind, PlatformKnowsTheCodesByTheSameNames)
{
    for (const auto& [code, name] : GetParam().listed) {
        EXPECT_STREQ(GetMacOSStatusErrorString(code), code == 0 ? "noErr" : name);
        EXPECT_STRNE(GetMacOSStatusCommentString(code), GetMacOSStatusCommentString(INT32_MIN)) << name;
    }
}

TEST(RequiredStatusNames, KindsHaveAsManyNamesAsThePlatformPublishes)
{
    std::vector<std::size_t> counts;
    for (const auto& kind : sKinds)
        counts.push_back(kind.listed.size());
    EXPECT_EQ(counts, (std::vector<std::size_t> { 74, 30, 14, 14, 11, 18 }));
}

TEST(RequiredStatusNames, CodesInTheGapsOfCoreMediaAndZeroHaveNoName)
{
    StandardErrorCapture capture;
    std::string expected;
    for (const OSStatus code :
        { -12759, -12758, -12729, -12728, -12727, -12726, -12725, -12724, -12723, -12722, -12721, -12720, -12709, 0 }) {
        __CoreMediaOSStatusRequiredBody(code, "function", "File.cpp", 77, "SRC>>call(a, b)");
        expected += expectedLines(sKinds[0], code, "statusValue=" + std::to_string(code));
    }
    EXPECT_EQ(capture.text(), expected);
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

TEST(RequiredStatusNames, VideoToolboxAndCoreMediaIOWriteTwoLinesTooAndCamerasCodesAreDecimal)
{
    StandardErrorCapture capture;
    __VideoToolboxRequiredBody(-12902, "function", "File.cpp", 5, "SRC>>x");
    __CoreMediaIOStatusRequiredBody(0x77686f3f, "function", "File.cpp", 6, "SRC>>y");
    EXPECT_EQ(capture.text(),
        "REQUIRED_VTSTATUS -12902:kVTParameterErr (-12902) - SRC>>x in function:5 (File.cpp)\n"
        "REQUIRED_OSSTATUS(-12902) kVTParameterErr-'an argument of a video session is wrong' - SRC>>x in function:5 "
        "(File.cpp)\n"
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

TEST(RequiredStatusNames, AFullPoolsStatusIsANumberWithoutAName)
{
    StandardErrorCapture capture;
    EXPECT_FALSE(CoreVideoRequiredIn("function", kCVReturnWouldExceedAllocationThreshold, "x"));
    const int line = __LINE__ - 1;
    EXPECT_EQ(capture.text(),
        "REQUIRED_CVRETURN FAILED: statusValue=-6689 - SRC>>x in function:" + std::to_string(line)
            + " (RequiredStatusNamesTests.cpp)\n");
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

TEST(RequiredStatusNames, NullTextsOfALocationAreEmpty)
{
    StandardErrorCapture capture;
    __CoreVideoRequiredBody(-6660, nullptr, nullptr, 1, nullptr);
    EXPECT_EQ(capture.text(), "REQUIRED_CVRETURN FAILED: kCVReturnError (-6660) -  in :1 ()\n");
}

TEST(RequiredStatusNames, OpenGLPrintsASentenceHasNoSourceAndKeepsItsPlaces)
{
    const std::string effect = " The offending command is ignored and has no other side effect than to set the error "
                               "flag.";
    const std::pair<std::int32_t, std::string> errors[] = {
        { 1279, "GL_NO_ERROR" },
        { 1280, "GL_INVALID_ENUM An unacceptable value is specified for an enumerated argument." + effect },
        { 1281, "GL_INVALID_VALUE A numeric argument is out of range." + effect },
        { 1282, "GL_INVALID_OPERATION The specified operation is not allowed in the current state." + effect },
        { 1283, "GL_NO_ERROR" },
        { 1284, "GL_NO_ERROR" },
        { 1285,
            "GL_OUT_OF_MEMORY There is not enough memory left to execute the command. The state of the GL is "
            "undefined, except for the state of the error flags, after this error is recorded." },
        { 1286, "GL_INVALID_FRAMEBUFFER_OPERATION" },
        { 1287, "GL_NO_ERROR" },
        { 0, "GL_NO_ERROR" },
        { INT32_MIN, "GL_NO_ERROR" },
        { INT32_MAX, "GL_NO_ERROR" },
    };
    StandardErrorCapture capture;
    std::string expected;
    for (const auto& [error, text] : errors) {
        __GLRequiredBody(error, "File.cpp", "function", 4);
        expected += "REQUIRED_OPENGL: " + text + " (" + std::to_string(error) + ") -  in File.cpp:4 (function)\n";
    }
    EXPECT_EQ(capture.text(), expected);
}

TEST(RequiredStatusNames, TimeIsTracedWithItsLabelAndThePathsLastComponent)
{
    StandardErrorCapture capture;
    __CoreMediaCMTimeLogMessage("/a/File.cpp", "function", 8, CMTimeMake(1, 2), "ignored", "LABEL");
    __CoreMediaCMTimeLogMessage("/a/folder/", "function", 9, kCMTimeInvalid, nullptr, "LABEL");
    EXPECT_EQ(capture.text(),
        "CMTime '{1/2 = 0.500}' LABEL {File.cpp:8 function}\n\n"
        "CMTime '{INVALID}' LABEL {folder:9 function}\n\n");
}

TEST(RequiredStatusNames, TimeIsNotTracedWithoutADescriptionOrAPath)
{
    StandardErrorCapture capture;
    __CoreMediaCMTimeLogMessage(nullptr, "function", 8, CMTimeMake(1, 2), "ignored", "LABEL");
    __CoreMediaCMTimeLogMessage("\xFF.cpp", "function", 8, CMTimeMake(1, 2), "ignored", "LABEL");
    for (const auto* const failPoint : { "CMTimeCopyDescription", "stringWithUTF8String" }) {
        const FailPoint::Scope failing(failPoint);
        __CoreMediaCMTimeLogMessage("/a/File.cpp", "function", 8, CMTimeMake(1, 2), "ignored", "LABEL");
    }
    EXPECT_EQ(capture.text(), "");
}
