#include "WithRequirements/ZVOperatingSystemVersion.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostFiles.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gtest/gtest.h>

#include <sys/utsname.h>

namespace {

constexpr std::uint32_t sSuccess = 0xFFFFFFFF;

class ZVOperatingSystemVersionFile : public testing::Test {
protected:
    ~ZVOperatingSystemVersionFile() override { HostFiles::restore(); }

    static void writeFile(std::optional<std::string> contents)
    {
        HostFiles::replace("/System/Library/CoreServices/SystemVersion.plist", std::move(contents));
    }
    static std::string listWith(std::string_view version)
    {
        return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>ProductVersion</key>" + std::string(version)
            + "</dict></plist>";
    }
    /// Reads the file and expects a failure; gives what was logged.
    static std::string failureOutput()
    {
        StandardErrorCapture capture;
        NSOperatingSystemVersion record { 7, 7, 7 };
        EXPECT_EQ(ZVOperatingSystemVersion_GetCoreFoundation(&record), 0u);
        EXPECT_EQ(record.majorVersion, 7);
        return capture.text();
    }
    static std::string failureAt(const char* failPoint)
    {
        const FailPoint::Scope failing(failPoint);
        return failureOutput();
    }
};

const std::string sFunction = "ZVOperatingSystemVersion_GetCoreFoundation";

void expectStartsAndNames(const std::string& text, const std::string& start)
{
    EXPECT_TRUE(text.starts_with(start)) << text;
    EXPECT_NE(text.find(sFunction), std::string::npos) << text;
    EXPECT_NE(text.find("ZVOperatingSystemVersion.cpp"), std::string::npos) << text;
}

}

TEST(ZVOperatingSystemVersion, NumberIsNotMonotonic)
{
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 12, 6, 1 }), 1261u);
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 10, 15, 7 }), 1157u);
    EXPECT_GT(ZVOperatingSystemVersion_Number({ 10, 15, 7 }), ZVOperatingSystemVersion_MacOS_11_0);
}

TEST(ZVOperatingSystemVersion, CurrentIsTheKernelsRelease)
{
    utsname names {};
    ASSERT_EQ(uname(&names), 0);
    int major = 0;
    int minor = 0;
    int patch = 0;
    std::sscanf(names.release, "%d.%d.%d", &major, &minor, &patch);
    const auto current = ZVOperatingSystemVersion_GetCurrentStruct();
    EXPECT_EQ(current.majorVersion, major);
    EXPECT_EQ(current.minorVersion, minor);
    EXPECT_EQ(current.patchVersion, patch);
    EXPECT_EQ(ZVOperatingSystemVersion_GetCurrent(), static_cast<std::uint32_t>(major * 100 + minor * 10 + patch));
    EXPECT_LT(ZVOperatingSystemVersion_GetCurrent(), ZVOperatingSystemVersion_MacOS_13_0);
}

TEST(ZVOperatingSystemVersion, ReleaseIsReadUpToWhatIsNoNumber)
{
    const auto version = NSProcessInfo::versionOfRelease("6.1.0-18-amd64");
    EXPECT_EQ(ZVOperatingSystemVersion_Number(version), 610u);
    EXPECT_EQ(ZVOperatingSystemVersion_Number(NSProcessInfo::versionOfRelease("5.10-rc1")), 600u);
    EXPECT_EQ(ZVOperatingSystemVersion_Number(NSProcessInfo::versionOfRelease("unknown")), 0u);
}

TEST_F(ZVOperatingSystemVersionFile, IsReadWithoutItsPatchAndShown)
{
    writeFile(listWith("<string>12.6.1</string>"));
    StandardErrorCapture capture;
    NSOperatingSystemVersion record { 7, 7, 7 };
    EXPECT_EQ(ZVOperatingSystemVersion_GetCoreFoundation(&record), sSuccess);
    EXPECT_EQ(ZVOperatingSystemVersion_Number(record), 1260u);
    EXPECT_EQ(record.patchVersion, 0);
    const auto text = capture.text();
    EXPECT_NE(text.find("ProductVersion"), std::string::npos) << text;
    EXPECT_NE(text.find("12.6.1"), std::string::npos) << text;
}

TEST_F(ZVOperatingSystemVersionFile, StandsInWhenTheProcessHasNoInformation)
{
    // Asked for first: the record is filled once, and is not to be filled from the file.
    const auto current = ZVOperatingSystemVersion_GetCurrentStruct();
    StandardErrorCapture capture;
    const FailPoint::Scope failing("NSProcessInfo");
    NSOperatingSystemVersion record;
    EXPECT_EQ(ZVOperatingSystemVersion_GetFoundation(&record), sSuccess);
    EXPECT_EQ(record.majorVersion, current.majorVersion);
    EXPECT_EQ(record.minorVersion, current.minorVersion);
    EXPECT_EQ(record.patchVersion, 0);
}

TEST_F(ZVOperatingSystemVersionFile, EachStepFailsWithItsLine)
{
    expectStartsAndNames(failureAt("CFURLCreateWithFileSystemPath"), "REQUIRED_CFTYPEOF url==NULL : in ");
    expectStartsAndNames(failureAt("CFReadStreamCreateWithFile"), "REQUIRED_CFTYPEOF readStream==NULL : in ");
    expectStartsAndNames(failureAt("CFReadStreamOpen"),
        "REQUIREMENT - SRC>>CFReadStreamOpen(readStream) in ZVOperatingSystemVersion.cpp:");
    expectStartsAndNames(failureAt("CFPropertyListCreateWithStream"), "REQUIRED_CFTYPEOF propertyListRef==NULL : in ");
}

TEST_F(ZVOperatingSystemVersionFile, MissingOrDamagedFileFails)
{
    writeFile(std::nullopt);
    expectStartsAndNames(failureOutput(), "REQUIREMENT - SRC>>CFReadStreamOpen(readStream) in ");
    writeFile("<plist><dict><key>ProductVersion</key><string>12.6");
    expectStartsAndNames(failureOutput(), "REQUIRED_CFTYPEOF propertyListRef==NULL : in ");
    writeFile("<plist><array/></plist>");
    expectStartsAndNames(failureOutput(), "REQUIRED_CFTYPEOF [propertyListRef ((CFArray)0x");
}

TEST_F(ZVOperatingSystemVersionFile, VersionThatIsNoStringOrTooShortFails)
{
    writeFile(listWith("<integer>12</integer>"));
    EXPECT_NE(failureOutput().find("REQUIRED_CFTYPEOF [versionString ((CFNumber)0x"), std::string::npos);
    writeFile(listWith("<string></string>"));
    EXPECT_NE(failureOutput().find("REQUIREMENT - SRC>>sizeASCII>0 in "), std::string::npos);
    writeFile(listWith("<string>12</string>"));
    const auto text = failureOutput();
    EXPECT_NE(text.find("REQUIREMENT - SRC>>result>=minimumResult in "), std::string::npos) << text;
    EXPECT_NE(text.find("\n12\n"), std::string::npos) << text;
}
