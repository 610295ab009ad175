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
