#include "WithRequirements/ZVOperatingSystemVersion.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostFiles.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "WithRequirements/Requirements.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/utsname.h>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t sSuccess = 0xFFFFFFFF;

/// A version file of the test's own, in a folder that goes with it.
class ZVOperatingSystemVersionFile : public testing::Test {
protected:
    ZVOperatingSystemVersionFile()
    {
        std::string name = (fs::temp_directory_path() / "ZVOperatingSystemVersion.XXXXXX").string();
        mFolder = mkdtemp(name.data());
        HostFiles::redirect("/System/Library/CoreServices/SystemVersion.plist", path());
    }
    ~ZVOperatingSystemVersionFile() override
    {
        HostFiles::restore();
        fs::remove_all(mFolder);
    }

    std::string path() const { return (mFolder / "SystemVersion.plist").string(); }
    void write(const std::string& contents) const { std::ofstream(path(), std::ios::binary) << contents; }
    void writeVersion(std::string_view value) const
    {
        write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!DOCTYPE plist SYSTEM \"PropertyList-1.0.dtd\">\n"
              "<plist version=\"1.0\">\n<dict>\n\t<key>ProductVersion</key>\n\t"
            + std::string(value) + "\n</dict>\n</plist>\n");
    }
    /// What the dictionary of `writeVersion` is shown as.
    static std::string shown(const std::string& version) { return "{\n    ProductVersion = " + version + ";\n}\n"; }

private:
    fs::path mFolder;
};

struct Outcome {
    std::uint32_t result = 0;
    NSOperatingSystemVersion record { 7, 7, 7 };
    std::string output;
};

Outcome readFile()
{
    StandardErrorCapture capture;
    Outcome outcome;
    outcome.result = ZVOperatingSystemVersion_GetCoreFoundation(&outcome.record);
    outcome.output = withoutLineNumbers(capture.text());
    return outcome;
}

void expectVersion(const Outcome& outcome, NSInteger major, NSInteger minor)
{
    EXPECT_EQ(outcome.result, sSuccess);
    EXPECT_EQ(outcome.record.majorVersion, major);
    EXPECT_EQ(outcome.record.minorVersion, minor);
    EXPECT_EQ(outcome.record.patchVersion, 0);
}

void expectFailure(const Outcome& outcome, const std::string& output)
{
    EXPECT_EQ(outcome.result, 0u);
    EXPECT_EQ(outcome.record.majorVersion, 7) << "left alone";
    EXPECT_EQ(outcome.output, output);
}

Outcome readFileFailingAt(const char* failPoint)
{
    const FailPoint::Scope failing(failPoint);
    return readFile();
}

/// A line of a value check that failed in the reading function.
std::string valueLine(const std::string& start)
{
    return start + " in ZVOperatingSystemVersion_GetCoreFoundation LINE# N (ZVOperatingSystemVersion.cpp)\n\n";
}

std::string conditionLine(const std::string& source)
{
    return "REQUIREMENT - SRC>>" + source
        + " in ZVOperatingSystemVersion.cpp:N (ZVOperatingSystemVersion_GetCoreFoundation)\n";
}

/// The same for an object of a wrong type; \p output is what was written, which holds the object's address.
void expectWrongType(const Outcome& outcome, const std::string& before, const std::string& text, const char* type,
    CFTypeID actual, const char* required, CFTypeID expected)
{
    const auto types = CFFormat(") != %sGetTypeID() (%08lx!=%08lx)] FAILED :", { required, actual, expected });
    const auto start = before + "REQUIRED_CFTYPEOF [" + text + " ((" + type + ")0x";
    ASSERT_TRUE(outcome.output.starts_with(start)) << outcome.output;
    const auto address = outcome.output.find_first_not_of("0123456789abcdef", start.size());
    ASSERT_NE(address, std::string::npos);
    EXPECT_EQ(outcome.output.substr(address), valueLine(types));
    EXPECT_EQ(outcome.result, 0u);
    EXPECT_EQ(outcome.record.majorVersion, 7);
}

}

TEST(ZVOperatingSystemVersion, NumberIsNotMonotonic)
{
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 12, 6, 1 }), 1261u);
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 10, 15, 7 }), 1157u);
    EXPECT_GT(ZVOperatingSystemVersion_Number({ 10, 15, 7 }), ZVOperatingSystemVersion_MacOS_11_0);
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 10, 8, 0 }), ZVOperatingSystemVersion_MacOS_10_8);
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 10, 15, 0 }), ZVOperatingSystemVersion_MacOS_10_15);
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 11, 0, 0 }), ZVOperatingSystemVersion_MacOS_11_0);
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 12, 0, 0 }), ZVOperatingSystemVersion_MacOS_12_0);
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 13, 0, 0 }), ZVOperatingSystemVersion_MacOS_13_0);
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 14, 0, 0 }), ZVOperatingSystemVersion_MacOS_14_0);
}

TEST(ZVOperatingSystemVersion, NumberTakesTheLow32BitsOfEachField)
{
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 0x1'0000'000C, 0x2'0000'0006, 0x3'0000'0001 }), 1261u);
    EXPECT_EQ(ZVOperatingSystemVersion_Number({ 0, 0, -1 }), 0xFFFFFFFFu);
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

TEST(ZVOperatingSystemVersion, HostsOwnFileStandsInWhenTheProcessHasNoInformation)
{
    const auto current = NSProcessInfo::processInfo()->operatingSystemVersion();
    StandardErrorCapture capture;
    const FailPoint::Scope failing("NSProcessInfo");
    NSOperatingSystemVersion record;
    EXPECT_EQ(ZVOperatingSystemVersion_GetFoundation(&record), sSuccess);
    EXPECT_EQ(record.majorVersion, current.majorVersion);
    EXPECT_EQ(record.minorVersion, current.minorVersion);
    EXPECT_EQ(record.patchVersion, 0);
}

TEST_F(ZVOperatingSystemVersionFile, IsReadWithoutItsPatchAndShown)
{
    writeVersion("<string>12.6.1</string>");
    const auto outcome = readFile();
    expectVersion(outcome, 12, 6);
    EXPECT_EQ(ZVOperatingSystemVersion_Number(outcome.record), 1260u);
    EXPECT_EQ(outcome.output, shown("12.6.1"));
}

TEST_F(ZVOperatingSystemVersionFile, IsReadAsFarAsItIsNumbers)
{
    writeVersion("<string>10.15</string>");
    expectVersion(readFile(), 10, 15);
    writeVersion("<string>11.beta</string>");
    expectVersion(readFile(), 11, 0);
    writeVersion("<string>beta</string>");
    expectVersion(readFile(), 0, 0);
    writeVersion("<string>-3.-4</string>");
    expectVersion(readFile(), -3, -4);
    // A character that ASCII does not have ends the number.
    writeVersion("<string>13\xC3\xA4.5</string>");
    expectVersion(readFile(), 13, 0);
}

TEST_F(ZVOperatingSystemVersionFile, MayBeReadManyTimes)
{
    // The version's string is released once more than it was taken.
    writeVersion("<string>12.6.1</string>");
    for (int round = 0; round < 100; ++round)
        expectVersion(readFile(), 12, 6);
}

TEST_F(ZVOperatingSystemVersionFile, StandsInWhenTheProcessHasNoInformation)
{
    writeVersion("<string>10.15.7</string>");
    StandardErrorCapture capture;
    const FailPoint::Scope failing("NSProcessInfo");
    NSOperatingSystemVersion record;
    EXPECT_EQ(ZVOperatingSystemVersion_GetFoundation(&record), sSuccess);
    EXPECT_EQ(ZVOperatingSystemVersion_Number(record), 1150u);
    EXPECT_EQ(capture.text(), shown("10.15.7"));
}

TEST_F(ZVOperatingSystemVersionFile, EachStepFailsWithItsLine)
{
    writeVersion("<string>12.6.1</string>");
    expectFailure(readFileFailingAt("CFURLCreateWithFileSystemPath"), valueLine("REQUIRED_CFTYPEOF url==NULL :"));
    expectFailure(readFileFailingAt("CFReadStreamCreateWithFile"), valueLine("REQUIRED_CFTYPEOF readStream==NULL :"));
    expectFailure(readFileFailingAt("CFReadStreamOpen"), conditionLine("CFReadStreamOpen(readStream)"));
    expectFailure(
        readFileFailingAt("CFPropertyListCreateWithStream"), valueLine("REQUIRED_CFTYPEOF propertyListRef==NULL :"));
    expectFailure(readFileFailingAt("ZVOperatingSystemVersion.calloc"),
        shown("12.6.1") + valueLine("REQUIRED_NOT_NULL 0x00000000==NULL : cstr"));
}

TEST_F(ZVOperatingSystemVersionFile, MissingUnreadableOrDamagedFileFails)
{
    expectFailure(readFile(), conditionLine("CFReadStreamOpen(readStream)"));
    fs::create_directory(path());
    expectFailure(readFile(), conditionLine("CFReadStreamOpen(readStream)"));
    fs::remove(path());
    for (const auto* const damaged : { "", "bplist00", "<plist><dict><key>ProductVersion</key><string>12.6" }) {
        write(damaged);
        expectFailure(readFile(), valueLine("REQUIRED_CFTYPEOF propertyListRef==NULL :"));
    }
    write("<plist><array/></plist>");
    expectWrongType(
        readFile(), "", "propertyListRef", "CFArray", CFArrayGetTypeID(), "CFDictionary", CFDictionaryGetTypeID());
}

TEST_F(ZVOperatingSystemVersionFile, VersionThatIsMissingNoStringOrTooShortFails)
{
    write("<plist><dict/></plist>");
    expectFailure(readFile(), "{\n}\n" + valueLine("REQUIRED_CFTYPEOF versionString==NULL :"));
    writeVersion("<integer>12</integer>");
    expectWrongType(
        readFile(), shown("12"), "versionString", "CFNumber", CFNumberGetTypeID(), "CFString", CFStringGetTypeID());
    writeVersion("<string></string>");
    expectFailure(readFile(), shown("") + conditionLine("sizeASCII>0"));
}

TEST_F(ZVOperatingSystemVersionFile, VersionThatIsTooShortIsShownToo)
{
    writeVersion("<string>12</string>");
    const auto outcome = readFile();
    EXPECT_EQ(outcome.result, 0u);
    // The string is shown by the calling thread and the line by the log's queue: either may be first.
    const auto line = conditionLine("result>=minimumResult");
    EXPECT_TRUE(outcome.output == shown("12") + line + "12\n" || outcome.output == shown("12") + "12\n" + line)
        << outcome.output;
    writeVersion("<string>1.2</string>");
    expectVersion(readFile(), 1, 2);
}

namespace {

/// Fills the record of the process, which happens once, where both sources fail. Exits with 0 when it stayed zero.
[[noreturn]] void fillTheRecordWithNothingAndExit()
{
    {
        const FailPoint::Scope noInformation("NSProcessInfo");
        const FailPoint::Scope noFile("CFURLCreateWithFileSystemPath");
        if (ZVOperatingSystemVersion_GetCurrent() != 0)
            _exit(1);
    }
    const auto current = ZVOperatingSystemVersion_GetCurrentStruct();
    const bool isZero = current.majorVersion == 0 && current.minorVersion == 0 && current.patchVersion == 0;
    __CFLogDrain();
    _exit(isZero && ZVOperatingSystemVersion_GetCurrent() == 0 ? 0 : 2);
}

/// The first calls from many threads at once: exits with 0 when the host was asked once and all got the same.
[[noreturn]] void fillTheRecordFromManyThreadsAndExit()
{
    const FailPoint::Scope counting("NSProcessInfo", 0, UINT64_MAX);
    std::vector<std::uint32_t> numbers(8);
    {
        std::vector<std::jthread> threads;
        for (auto& number : numbers)
            threads.emplace_back([&number] { number = ZVOperatingSystemVersion_GetCurrent(); });
    }
    const auto isSame = std::count(numbers.begin(), numbers.end(), numbers.front()) == 8;
    _exit(isSame && numbers.front() != 0 && FailPoint::passes("NSProcessInfo") == 1 ? 0 : 1);
}

}

TEST(ZVOperatingSystemVersionDeathTest, FailureLeavesTheRecordAtZeroForGood)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(fillTheRecordWithNothingAndExit(), testing::ExitedWithCode(0),
        "^REQUIRED_CFTYPEOF url==NULL : in ZVOperatingSystemVersion_GetCoreFoundation LINE# [0-9]+ "
        "\\(ZVOperatingSystemVersion.cpp\\)\n\n$");
}

TEST(ZVOperatingSystemVersionDeathTest, RecordIsFilledOnceHoweverManyThreadsComeFirst)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(fillTheRecordFromManyThreadsAndExit(), testing::ExitedWithCode(0), "^$");
}
