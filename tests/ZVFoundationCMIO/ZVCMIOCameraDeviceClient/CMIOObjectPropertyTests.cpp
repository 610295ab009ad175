#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/CMIOObjectProperty.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/ZVFoundationCMIO/ZVCMIOCameraDeviceClient/LoggedLines.h"

#include <gtest/gtest.h>

namespace {

constexpr CMIOObjectPropertySelector absent = 0x6E6F7065; // 'nope'

}

TEST(CMIOObjectProperty, ANormalizedUIDHasNoHyphens)
{
    EXPECT_EQ(CMIOObjectNormalizedUID(CFSTR("A-B--C-"))->description(), "ABC");
    EXPECT_TRUE(CFEqual(CMIOObjectNormalizedUID(CFSTR("abc")).get(), CFSTR("abc")));
    EXPECT_EQ(CMIOObjectNormalizedUID(nullptr), nullptr);
    EXPECT_EQ(CMIOObjectNormalizedUID(kCFNull), kCFNull);
}

TEST(CMIOObjectProperty, AnAbsentPropertyIsReportedTwiceAndRefused)
{
    std::uint32_t size = 4;
    std::uint32_t value = 7;
    const auto lines = loggedLines(
        [&] { EXPECT_FALSE(CMIOObjectGetPropertyGlobalMaster(kCMIOObjectSystemObject, absent, &size, &value)); });
    EXPECT_EQ(lines,
        "REQUIREMENT - SRC>>CMIOObjectHasProperty(object,&opa) in CMIOObjectProperty.cpp:# "
        "(CMIOObjectGetPropertyGlobalMaster)\n"
        "NO==CMIOObjectGetPropertyGlobalMaster::CMIOObjectHasProperty(1,'nope')\n");
    EXPECT_EQ(value, 7U);
}

TEST(CMIOObjectProperty, SelectorZeroHasAnotherTextInEachDirection)
{
    std::uint32_t size = 4;
    std::uint32_t value = 0;
    const auto read = loggedLines([&] { CMIOObjectGetPropertyGlobalMaster(5, 0, &size, &value); });
    EXPECT_NE(read.find("NO==CMIOObjectGetPropertyGlobalMaster::CMIOObjectHasProperty(5,0000)\n"), std::string::npos)
        << read;
    const auto written = loggedLines([&] { CMIOObjectSetPropertyGlobalMaster(5, 0, size, &value); });
    EXPECT_NE(written.find("NO==CMIOObjectSetPropertyGlobalMaster::CMIOObjectHasProperty(5,0x00)\n"), std::string::npos)
        << written;
}

TEST(CMIOObjectProperty, ASizeThatIsNotTheCallersIsRefusedBeforeTheRead)
{
    std::uint64_t value = 0;
    std::uint32_t size = sizeof value;
    const FailPoint::Scope read("CMIOObjectGetPropertyData", -1);
    const auto lines = loggedLines([&] {
        EXPECT_FALSE(
            CMIOObjectGetPropertyGlobalMaster(kCMIOObjectSystemObject, kCMIOObjectPropertyClass, &size, &value));
    });
    EXPECT_EQ(lines,
        "REQUIREMENT - SRC>>checkPropertyDataSize==*propertyDataSize in CMIOObjectProperty.cpp:# "
        "(CMIOObjectGetPropertyGlobalMaster)\n");
    EXPECT_EQ(FailPoint::passes("CMIOObjectGetPropertyData"), 0U);
}

TEST(CMIOObjectProperty, ReadsAValueOfTheRightSize)
{
    std::uint32_t value = 0;
    std::uint32_t size = sizeof value;
    EXPECT_EQ(loggedLines([&] {
        EXPECT_TRUE(
            CMIOObjectGetPropertyGlobalMaster(kCMIOObjectSystemObject, kCMIOObjectPropertyClass, &size, &value));
    }),
        "");
    EXPECT_EQ(value, kCMIOSystemObjectClassID);
    EXPECT_TRUE(CMIOObjectHasPropertyGlobalMaster(kCMIOObjectSystemObject, kCMIOObjectPropertyClass));
    EXPECT_FALSE(CMIOObjectHasPropertyGlobalMaster(kCMIOObjectSystemObject, absent));
}

TEST(CMIOObjectProperty, APropertyThatCannotBeSetIsSaidToBeAbsentToo)
{
    const std::uint32_t value = 1;
    const auto lines = loggedLines([&] {
        EXPECT_FALSE(
            CMIOObjectSetPropertyGlobalMaster(kCMIOObjectSystemObject, kCMIOObjectPropertyClass, sizeof value, &value));
    });
    EXPECT_EQ(lines,
        "REQUIREMENT - SRC>>isPropertySettable in CMIOObjectProperty.cpp:# (CMIOObjectSetPropertyGlobalMaster)\n"
        "NO==CMIOObjectSetPropertyGlobalMaster::CMIOObjectHasProperty(1,'clas')\n");
}

TEST(CMIOObjectProperty, WritesWhatCanBeSet)
{
    const std::uint32_t value = 1;
    EXPECT_TRUE(CMIOObjectSetPropertyGlobalMaster(
        kCMIOObjectSystemObject, kCMIOHardwarePropertyAllowScreenCaptureDevices, sizeof value, &value));
}

TEST(CMIOObjectProperty, AStringReadGivesOneReferenceToTheCaller)
{
    const auto name = CMIOObjectGetCFStringRefPropertyGlobalMaster(kCMIOObjectSystemObject, kCMIOObjectPropertyName);
    ASSERT_NE(kindOf<CFString>(name), nullptr);
    EXPECT_FALSE(kindOf<CFString>(name)->string().empty());
}

TEST(CMIOObjectProperty, ANullStringIsReportedAndStillHandedOn)
{
    const auto lines = loggedLines(
        [&] { EXPECT_FALSE(CMIOObjectSetCFStringRefPropertyGlobalMaster(kCMIOObjectSystemObject, absent, nullptr)); });
    EXPECT_EQ(lines.find("REQUIRED_CFTYPEOF propertyValue==NULL : in "), 0U) << lines;
    EXPECT_NE(lines.find("CMIOObjectHasProperty(1,'nope')"), std::string::npos) << lines;
    const auto others = loggedLines(
        [&] { EXPECT_FALSE(CMIOObjectSetCFTypeRefPropertyGlobalMaster(kCMIOObjectSystemObject, absent, nullptr)); });
    EXPECT_EQ(others.find("REQUIRED_CFTYPEREF propertyValue==NULL : in "), 0U) << others;
}

namespace {

constexpr auto settable = kCMIOHardwarePropertyAllowScreenCaptureDevices;

/// What reading and writing a property of the system object log while a call of the platform gives \p status.
std::string refusedRead(const char* call, OSStatus status)
{
    const FailPoint::Scope refused(call, status);
    std::uint32_t value = 0;
    std::uint32_t size = sizeof value;
    return loggedLines(
        [&] { EXPECT_FALSE(CMIOObjectGetPropertyGlobalMaster(kCMIOObjectSystemObject, settable, &size, &value)); });
}

std::string refusedWrite(const char* call, OSStatus status, std::uint32_t size = 4)
{
    const FailPoint::Scope refused(call, status);
    const std::uint64_t value = 1;
    return loggedLines(
        [&] { EXPECT_FALSE(CMIOObjectSetPropertyGlobalMaster(kCMIOObjectSystemObject, settable, size, &value)); });
}

constexpr const char* absentLine = "NO==CMIOObjectSetPropertyGlobalMaster::CMIOObjectHasProperty(1,'yes ')\n";
constexpr const char* sizeWords
    = "SRC>>CMIOObjectGetPropertyDataSize(object, &opa, 0, ((void*)0), &checkPropertyDataSize)";

}

TEST(CMIOObjectProperty, ASizeOfNothingIsReportedByTheReadAndNotByTheWrite)
{
    // Succeeds without saying a size.
    EXPECT_EQ(refusedRead("CMIOObjectGetPropertyDataSize", noErr),
        "REQUIREMENT - SRC>>checkPropertyDataSize>0 in CMIOObjectProperty.cpp:# (CMIOObjectGetPropertyGlobalMaster)\n");
    EXPECT_EQ(refusedWrite("CMIOObjectGetPropertyDataSize", noErr), "");
}

TEST(CMIOObjectProperty, AReadThatFailsOnTheWayIsReported)
{
    const auto size = refusedRead("CMIOObjectGetPropertyDataSize", kCMIOHardwareUnspecifiedError);
    EXPECT_NE(size.find(sizeWords), std::string::npos) << size;
    const auto data = refusedRead("CMIOObjectGetPropertyData", kCMIOHardwareUnspecifiedError);
    EXPECT_NE(data.find("SRC>>CMIOObjectGetPropertyData(object, &opa, 0, ((void*)0), *propertyDataSize, "
                        "propertyDataSize, propertyValue)"),
        std::string::npos)
        << data;
    for (const auto& lines : { size, data })
        EXPECT_EQ(lines.find("NO=="), std::string::npos) << lines;
}

TEST(CMIOObjectProperty, AWriteThatFailsOnTheWayIsReported)
{
    const auto asked = refusedWrite("CMIOObjectIsPropertySettable", kCMIOHardwareUnspecifiedError);
    EXPECT_NE(asked.find("SRC>>CMIOObjectIsPropertySettable(object, &opa, &isPropertySettable)"), std::string::npos)
        << asked;
    EXPECT_TRUE(asked.ends_with(absentLine)) << asked;
    const auto size = refusedWrite("CMIOObjectGetPropertyDataSize", kCMIOHardwareUnspecifiedError);
    EXPECT_NE(size.find(sizeWords), std::string::npos) << size;
    const auto data = refusedWrite("CMIOObjectSetPropertyData", kCMIOHardwareUnspecifiedError);
    EXPECT_NE(data.find("SRC>>CMIOObjectSetPropertyData(object, &opa, 0, ((void*)0), propertyDataSize, propertyValue)"),
        std::string::npos)
        << data;
    for (const auto& lines : { size, data })
        EXPECT_EQ(lines.find("NO=="), std::string::npos) << lines;
    EXPECT_EQ(refusedWrite("CMIOObjectGetPropertyData", kCMIOHardwareUnspecifiedError, 8),
        "REQUIREMENT - SRC>>checkPropertyDataSize==propertyDataSize in CMIOObjectProperty.cpp:# "
        "(CMIOObjectSetPropertyGlobalMaster)\n");
}

TEST(CMIOObjectProperty, AnAbsentStringIsReportedAtEachLevel)
{
    const auto lines = loggedLines(
        [] { EXPECT_EQ(CMIOObjectGetCFStringRefPropertyGlobalMaster(kCMIOObjectSystemObject, absent), nullptr); });
    EXPECT_NE(lines.find("SRC>>CMIOObjectGetPropertyGlobalMaster(object,propertySelector,&propertyDataSize,"
                         "&propertyValue)"),
        std::string::npos)
        << lines;
    EXPECT_NE(lines.find("REQUIRED_NOT_NULL 0x00000000==NULL : propertyValue in "), std::string::npos) << lines;
}
