#include "WithRequirements/FourCharCodeString.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr FourCharCode sJust = 0x6a757374; // 'just'
constexpr FourCharCode sControl = 0x6a750a74;

std::string plain(FourCharCode code)
{
    const AutoreleasePool pool;
    return NSString_FourCharCodeConversion::stringWithFourCharCode(code)->string();
}

std::string constructed(FourCharCode code)
{
    char buffer[13];
    std::memset(buffer, 'x', sizeof(buffer));
    EXPECT_EQ(FourCharCodeString_Construct(buffer, code), buffer);
    return buffer;
}

}

TEST(FourCharCodeString, PrintableCodesShowTheirCharacters)
{
    const AutoreleasePool pool;
    EXPECT_EQ(plain(sJust), "just");
    EXPECT_EQ(constructed(sJust), "'just'");
    EXPECT_EQ(NSSStringFromFourCharCode(sJust)->string(), "just");
}

TEST(FourCharCodeString, ZeroHasAWordOfItsOwnInTwoForms)
{
    const AutoreleasePool pool;
    EXPECT_EQ(plain(0), "[OK]");
    EXPECT_EQ(constructed(0), "'noErr'");
    EXPECT_EQ(NSSStringFromFourCharCode(0)->string(), std::string(4, '\0'));
    EXPECT_EQ(CFStringGetLength(NSSStringFromFourCharCode(0)), 4);
}

TEST(FourCharCodeString, ControlByteGivesDecimalInOneFormAndHexadecimalInAnother)
{
    const AutoreleasePool pool;
    EXPECT_EQ(plain(sControl), "1786055284");
    EXPECT_EQ(constructed(sControl), "6a750a74");
    EXPECT_EQ(NSSStringFromFourCharCode(sControl)->string(), "ju\nt");
    EXPECT_EQ(plain(0xFFFFCE2C), "-12756");
    EXPECT_EQ(constructed(0xFFFFCE2C), "ffffce2c");
    EXPECT_EQ(constructed(5), "0005");
}

TEST(FourCharCodeString, BytesBeyondASCIIAreCharactersOfTheirNumber)
{
    const AutoreleasePool pool;
    auto* const string = NSSStringFromFourCharCode(0xE9FF41C0);
    EXPECT_EQ(CFStringGetLength(string), 4);
    EXPECT_EQ(string->string(), "\xC3\xA9\xC3\xBF\x41\xC3\x80");
}

TEST(FourCharCodeString, OneByteThatIsNotPrintableAnywhereIsEnough)
{
    for (const FourCharCode code : { 0x1F414141u, 0x417F4141u, 0x41410041u, 0x41414180u }) {
        char hexadecimal[16];
        std::snprintf(hexadecimal, sizeof hexadecimal, "%04x", code);
        EXPECT_EQ(plain(code), std::to_string(static_cast<std::int32_t>(code)));
        EXPECT_EQ(constructed(code), hexadecimal);
    }
    EXPECT_EQ(plain(0x20207E7E), "  ~~") << "a blank is printable";
    EXPECT_EQ(constructed(0x20207E7E), "'  ~~'");
}
