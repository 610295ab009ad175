#include "Platform/CoreFoundation/CFPropertyList.h"

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

class CFPropertyListFile : public testing::Test {
protected:
    CFPropertyListFile()
    {
        std::string name = (fs::temp_directory_path() / "CFPropertyList.XXXXXX").string();
        mFolder = mkdtemp(name.data());
    }
    ~CFPropertyListFile() override { fs::remove_all(mFolder); }

    std::string path() const { return (mFolder / "list.plist").string(); }

    Ref<CFReadStream> streamOf(std::string_view contents) const
    {
        std::ofstream(path(), std::ios::binary) << contents;
        const auto url = CFURLCreateWithFileSystemPath(
            kCFAllocatorDefault, CFString::create(path()).get(), kCFURLPOSIXPathStyle, false);
        auto stream = CFReadStreamCreateWithFile(kCFAllocatorDefault, url);
        EXPECT_TRUE(CFReadStreamOpen(stream));
        return stream;
    }

    /// The list's value; what is wrong with it is in `mError`.
    Ref<CFType> read(std::string_view contents)
    {
        mError = nullptr;
        return CFPropertyListCreateWithStream(
            kCFAllocatorDefault, streamOf(contents).get(), 0, kCFPropertyListImmutable, nullptr, &mError);
    }
    Ref<CFType> readValue(std::string_view element)
    {
        return read("<plist version=\"1.0\">" + std::string(element) + "</plist>");
    }
    std::string described(std::string_view element)
    {
        const auto value = readValue(element);
        return value ? value->description() : "error: " + (mError ? mError->description() : "none");
    }

    Ref<CFType> mError;

private:
    fs::path mFolder;
};

constexpr std::string_view sDocument
    = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!-- what > it is -->\n"
      "<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST 1.0//EN\" \"x.dtd\" [ <!ENTITY a \"b\"> ]>\n"
      "<plist version=\"1.0\">\n<dict>\n"
      "  <key>Name</key> <string>a &lt;b&gt; &amp; <![CDATA[<c>]]>&#100;</string>\n"
      "  <key>Counts</key>\n"
      "  <array><integer>-1</integer><!-- two --><real>0.5</real><true/></array>\n"
      "  <key>Inner</key><dict/>\n"
      "</dict>\n</plist>\n";

}

TEST_F(CFPropertyListFile, WholeDocumentIsRead)
{
    const auto expected = CFDictionary::create({ { CFSTR("Name"), CFSTR("a <b> & <c>d") },
        { CFSTR("Counts"),
            CFArray::create({ CFNumber::create(-1).get(), CFNumber::create(0.5).get(), kCFBooleanTrue }).get() },
        { CFSTR("Inner"), CFDictionary::create().get() } });
    EXPECT_TRUE(CFEqual(read(sDocument).get(), expected));
    EXPECT_FALSE(mError);
}

TEST_F(CFPropertyListFile, EveryShorterDocumentIsRefusedWithAReason)
{
    const auto whole = sDocument.find("</plist>") + 8;
    for (std::size_t length = 0; length < whole; ++length) {
        ASSERT_FALSE(read(sDocument.substr(0, length))) << sDocument.substr(0, length);
        ASSERT_TRUE(mError);
        ASSERT_NE(mError->description().find(" at byte "), std::string::npos) << mError->description();
    }
    EXPECT_TRUE(read(sDocument.substr(0, whole)));
}

TEST_F(CFPropertyListFile, OnlyTheGivenLengthIsRead)
{
    const auto stream = streamOf("<plist><true/></plist>  garbage");
    EXPECT_TRUE(
        CFPropertyListCreateWithStream(kCFAllocatorDefault, stream, 22, kCFPropertyListImmutable, nullptr, nullptr));
    EXPECT_FALSE(
        CFPropertyListCreateWithStream(kCFAllocatorDefault, stream, 10, kCFPropertyListImmutable, nullptr, nullptr));
}

TEST_F(CFPropertyListFile, ValuesOfEachKind)
{
    EXPECT_EQ(described("<string/>"), "");
    EXPECT_EQ(described("<string> kept </string>"), " kept ");
    EXPECT_EQ(described("<integer> 42\n</integer>"), "42");
    EXPECT_EQ(described("<integer>+7</integer>"), "7");
    EXPECT_EQ(described("<integer>0x1F</integer>"), "31");
    EXPECT_EQ(described("<integer>-9223372036854775808</integer>"), "-9223372036854775808");
    EXPECT_EQ(described("<false></false>"), CFBoolean::of(false)->description());
    EXPECT_EQ(described("<date>2026-01-02T03:04:05Z</date>"), "2026-01-02T03:04:05Z");
    EXPECT_EQ(described("<string>&#x20AC;&#8364;&quot;&apos;</string>"), "\xE2\x82\xAC\xE2\x82\xAC\"'");
    const std::vector<std::byte> bytes { std::byte { 0 }, std::byte { 255 }, std::byte { 16 }, std::byte { 77 } };
    EXPECT_TRUE(CFEqual(readValue("<data>\n AP8Q\n TQ== </data>").get(), make<CFData>(bytes).get()));
}

TEST_F(CFPropertyListFile, WhatIsWrongIsSaidWithItsPlace)
{
    EXPECT_EQ(described("<integer>4a</integer>"), "error: a number is wrong at byte 42");
    EXPECT_EQ(described("<integer/>"), "error: a number is wrong at byte 31");
    EXPECT_EQ(described("<integer>9223372036854775808</integer>"), "error: a number is too large at byte 59");
    EXPECT_EQ(described("<string>&nbsp;</string>"), "error: an unknown entity at byte 29");
    EXPECT_EQ(described("<string>&amp</string>"), "error: an entity does not end at byte 29");
    EXPECT_EQ(described("<string>&#xD800;</string>"), "error: a character's number is wrong at byte 29");
    EXPECT_EQ(described("<string>&#0;</string>"), "error: a character's number is wrong at byte 29");
    EXPECT_EQ(described("<string>&#x40000000;</string>"), "error: a character's number is wrong at byte 29");
    EXPECT_EQ(described("<string>a</integer>"), "error: an element does not end at byte 40");
    EXPECT_EQ(described("<data>A</data>"), "error: a byte is missing at byte 35");
    EXPECT_EQ(described("<data>AA=A</data>"), "error: a byte is wrong at byte 38");
    EXPECT_EQ(described("<true>x</true>"), "error: an unknown element at byte 35");
    EXPECT_EQ(described("<other/>"), "error: an unknown element at byte 29");
    EXPECT_EQ(described("<dict><string>a</string></dict>"), "error: a key is missing at byte 35");
    EXPECT_EQ(described("<true/><true/>"), "error: more than one value at byte 35");
    EXPECT_EQ(described("<string>\xFF</string>"), "error: no UTF-8 at byte 0");
}

TEST_F(CFPropertyListFile, DeepNestingIsRefused)
{
    std::string element;
    for (int depth = 0; depth < 100000; ++depth)
        element += "<array>";
    EXPECT_TRUE(described(element).starts_with("error: nested too deeply at byte "));
}

TEST_F(CFPropertyListFile, StringsOfAListSurviveAReleaseTooMany)
{
    const AutoreleasePool pool;
    const auto list = readValue("<dict><key>a</key><string>only here, and kept</string></dict>");
    auto* const string = kindOf<CFDictionary>(list)->get<CFString>(CFSTR("a"));
    ASSERT_NE(string, nullptr);
    for (int release = 0; release < 10; ++release)
        CFRelease(string);
    EXPECT_EQ(string->string(), "only here, and kept");
}

TEST_F(CFPropertyListFile, FailsWithoutAStreamAndWhereThePlatformFails)
{
    const auto stream = streamOf(sDocument);
    EXPECT_FALSE(
        CFPropertyListCreateWithStream(kCFAllocatorDefault, nullptr, 0, kCFPropertyListImmutable, nullptr, nullptr));
    const FailPoint::Scope failing("CFPropertyListCreateWithStream");
    EXPECT_FALSE(
        CFPropertyListCreateWithStream(kCFAllocatorDefault, stream, 0, kCFPropertyListImmutable, nullptr, nullptr));
}

TEST_F(CFPropertyListFile, StreamsAreOfFilesThatCanBeRead)
{
    const auto url = CFURLCreateWithFileSystemPath(
        kCFAllocatorDefault, CFString::create(path()).get(), kCFURLPOSIXPathStyle, false);
    const auto stream = CFReadStreamCreateWithFile(kCFAllocatorDefault, url);
    EXPECT_FALSE(CFReadStreamOpen(stream)) << "there is no file";
    fs::create_directory(path());
    EXPECT_FALSE(CFReadStreamOpen(stream)) << "it is a folder";
    fs::remove(path());
    const std::string large(100'000, 'x');
    EXPECT_EQ(streamOf(large)->contents(), large);
    EXPECT_EQ(streamOf("")->contents(), "");
    EXPECT_FALSE(CFReadStreamOpen(nullptr));
}

TEST_F(CFPropertyListFile, AnotherFileMayStandForOneOfTheHosts)
{
    constexpr std::string_view version = "/System/Library/CoreServices/SystemVersion.plist";
    EXPECT_TRUE(HostFiles::contents(version));
    EXPECT_EQ(HostFiles::location(path()), path());
    HostFiles::redirect(version, path());
    EXPECT_FALSE(HostFiles::contents(version));
    EXPECT_EQ(HostFiles::location(version), path());
    HostFiles::restore();
    EXPECT_TRUE(HostFiles::contents(version));
}
