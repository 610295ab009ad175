#include "Platform/CoreFoundation/CFString.h"

#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

namespace {

template <class... Arguments> std::string format(const char* text, const Arguments&... arguments)
{
    return CFFormat(text, CFFormatArguments { CFFormatArgument(arguments)... });
}

}

TEST(CFString, FormatsNumbersAsTheCLibraryDoes)
{
    EXPECT_EQ(format("%d|%5d|%-5d|%05d", 7, 7, 7, 7), "7|    7|7    |00007");
    EXPECT_EQ(format("%ld %lld", -5L, -6LL), "-5 -6");
    EXPECT_EQ(format("%u", -1), "4294967295");
    EXPECT_EQ(format("%08lx", 0xABCUL), "00000abc");
    EXPECT_EQ(format("0x%08lx==NULL", static_cast<void*>(nullptr)), "0x00000000==NULL");
    EXPECT_EQ(format("%.2f %g", 1.239, 0.5), "1.24 0.5");
    EXPECT_EQ(format("%03u", 12U), "012");
    EXPECT_EQ(format("%lu", 18446744073709551615UL), "18446744073709551615");
}

TEST(CFString, FormatsObjectsByTheirDescription)
{
    const auto number = CFNumber::create(12);
    EXPECT_EQ(format("%@ and %@", CFSTR("text"), number), "text and 12");
    EXPECT_EQ(format("%@", static_cast<CFType*>(nullptr)), "(null)");
    EXPECT_EQ(format("%@", static_cast<CFType*>(kCFNull)), "<null>");
    EXPECT_EQ(format("%s|%s", "bytes", static_cast<const char*>(nullptr)), "bytes|(null)");
}

TEST(CFString, KeepsZeroCharactersOfAnObjectsText)
{
    const std::string zeros(4, '\0');
    EXPECT_EQ(format("'%@'", CFString::create(zeros)), "'" + zeros + "'");
}

TEST(CFString, LeavesConversionsWithoutAnArgumentAsTheyStand)
{
    EXPECT_EQ(format("100%%"), "100%");
    EXPECT_EQ(format("%d"), "%d");
    EXPECT_EQ(format("%d %d", 1), "1 %d");
    EXPECT_EQ(format("50%; %y %", 1), "50%; %y %");
}

TEST(CFString, AFormatMayFailOrBeAbsent)
{
    EXPECT_FALSE(CFStringCreateWithFormat(nullptr, 1));
    const FailPoint::Scope armed("CFStringCreateWithFormat");
    EXPECT_FALSE(CFStringCreateWithFormat(CFSTR("%d"), 1));
}

TEST(CFString, EqualTextsAreEqualAndHashAlike)
{
    const auto a = CFString::create("one");
    const auto b = CFString::create("one");
    EXPECT_TRUE(CFEqual(a, b));
    EXPECT_EQ(a->hash(), b->hash());
    EXPECT_FALSE(CFEqual(a, CFSTR("two")));
    EXPECT_FALSE(CFEqual(a, kCFNull));
    EXPECT_FALSE(CFEqual(a, nullptr));
}

TEST(CFString, LengthCountsSixteenBitCharacters)
{
    EXPECT_EQ(CFStringGetLength(CFSTR("abc")), 3);
    EXPECT_EQ(CFStringGetLength(CFSTR("\xC3\xA4")), 1);
    EXPECT_EQ(CFStringGetLength(CFSTR("\xF0\x9F\x93\xB7")), 2);
    EXPECT_EQ(CFStringGetLength(nullptr), 0);
}
