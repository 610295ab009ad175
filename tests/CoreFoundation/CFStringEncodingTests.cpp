#include "Platform/CoreFoundation/CFStringEncoding.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

namespace {

struct Conversion {
    CFIndex result = 0;
    CFIndex used = 0;
    std::string bytes;
};

Conversion bytesOf(const char* text, CFRange range, unsigned char lossByte, CFIndex maximum)
{
    std::string buffer(static_cast<std::size_t>(maximum), '\0');
    Conversion conversion;
    conversion.result = CFStringGetBytes(
        CFSTR(text), range, kCFStringEncodingASCII, lossByte, false, buffer.data(), maximum, &conversion.used);
    conversion.bytes = buffer.substr(0, static_cast<std::size_t>(conversion.used));
    return conversion;
}

}

TEST(CFStringEncoding, WellFormedBytesAreUTF8)
{
    for (const auto* const text : { "", "ASCII", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
             "\xEE\x80\x80", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF" })
        EXPECT_TRUE(CFStringIsUTF8(text)) << text;
}

TEST(CFStringEncoding, StrayMissingOverlongAndForbiddenBytesAreNot)
{
    for (const auto* const text : { "\x80", "a\xBF", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x9F\xBF",
             "\xE2\x82", "\xE2\x28\xA1", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF0\x9F\x93", "\xF4\x90\x80\x80",
             "\xF5\x80\x80\x80", "\xFF", "\xFE" })
        EXPECT_FALSE(CFStringIsUTF8(text)) << text;
}

TEST(CFStringEncoding, StringsAreMadeOfBytesThatTheEncodingHas)
{
    const auto make = [](const char* text, CFStringEncoding encoding) {
        return CFStringCreateWithCString(kCFAllocatorDefault, text, encoding);
    };
    EXPECT_EQ(textOf(make("text", kCFStringEncodingASCII).get()), "text");
    EXPECT_EQ(textOf(make("\xC3\xA4", kCFStringEncodingUTF8).get()), "\xC3\xA4");
    EXPECT_FALSE(make("\xC3\xA4", kCFStringEncodingASCII));
    EXPECT_FALSE(make("\xC3", kCFStringEncodingUTF8));
    EXPECT_FALSE(make(nullptr, kCFStringEncodingUTF8));
    EXPECT_FALSE(make("text", 12345));
}

TEST(CFStringEncoding, StringOfACStringIsThePools)
{
    const AutoreleasePool pool;
    auto* const string = CFString::stringWithUTF8String("text");
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(string->string(), "text");
    EXPECT_EQ(string->retainCount(), 1);
    EXPECT_EQ(CFString::stringWithUTF8String(nullptr), nullptr);
    EXPECT_EQ(CFString::stringWithUTF8String("\xFF"), nullptr);
    const FailPoint::Scope failing("stringWithUTF8String");
    EXPECT_EQ(CFString::stringWithUTF8String("text"), nullptr);
}

TEST(CFStringEncoding, CharactersThatAreNotThereBecomeTheLossByteOrEndTheText)
{
    const auto lossy = bytesOf("a\xC3\xA4\xF0\x9F\x93\xB7z", { 0, 5 }, '?', 16);
    EXPECT_EQ(lossy.bytes, "a??z");
    EXPECT_EQ(lossy.result, 5) << "in 16-bit characters";
    const auto ended = bytesOf("a\xC3\xA4z", { 0, 3 }, 0, 16);
    EXPECT_EQ(ended.bytes, "a");
    EXPECT_EQ(ended.result, 1);
}

TEST(CFStringEncoding, OnlyTheRangeAndWhatFitsIsWritten)
{
    EXPECT_EQ(bytesOf("abcdef", { 2, 3 }, '?', 16).bytes, "cde");
    EXPECT_EQ(bytesOf("abcdef", { 0, 6 }, '?', 4).bytes, "abcd");
    EXPECT_EQ(bytesOf("abcdef", { 0, 6 }, '?', 4).result, 4);
    EXPECT_EQ(CFStringGetBytes(CFSTR("abc"), { 0, 3 }, kCFStringEncodingASCII, '?', false, nullptr, 0, nullptr), 3);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(5, kCFStringEncodingASCII), 5);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(5, kCFStringEncodingUTF8), 15);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(5, 12345), -1);
}
