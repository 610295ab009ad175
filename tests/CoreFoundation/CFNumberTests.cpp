#include "Platform/CoreFoundation/CFNumber.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(CFNumber, KeepsIntegersExactlyAndDescribesThem)
{
    const auto number = CFNumber::create(std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(number->integerValue(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(number->description(), "-9223372036854775808");
    EXPECT_FALSE(number->isFloatType());
}

TEST(CFNumber, DescribesADoubleByTheShortestTextThatReadsBack)
{
    EXPECT_EQ(CFNumber::create(0.1)->description(), "0.1");
    EXPECT_EQ(CFNumber::create(1280.0)->description(), "1280");
    EXPECT_EQ(CFNumber::create(1.0 / 3)->description(), "0.3333333333333333");
}

TEST(CFNumber, CutsDoublesOutsideTheIntegersToTheirLimits)
{
    EXPECT_EQ(CFNumber::create(1e30)->integerValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(CFNumber::create(-1e30)->integerValue(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(CFNumber::create(std::nan(""))->integerValue(), 0);
    EXPECT_EQ(CFNumber::create(-2.9)->integerValue(), -2);
}

TEST(CFNumber, ComparesByValueAcrossTypes)
{
    EXPECT_TRUE(CFEqual(CFNumber::create(2).get(), CFNumber::create(2.0).get()));
    EXPECT_EQ(CFNumber::create(2)->hash(), CFNumber::create(2.0)->hash());
    EXPECT_FALSE(CFEqual(CFNumber::create(2).get(), CFNumber::create(3).get()));
}

TEST(CFBoolean, HasTwoObjectsOfItsOwnType)
{
    EXPECT_EQ(CFBoolean::of(true), kCFBooleanTrue);
    EXPECT_EQ(CFGetTypeID(kCFBooleanFalse), CFBooleanGetTypeID());
    EXPECT_NE(CFBooleanGetTypeID(), CFNumberGetTypeID());
    EXPECT_EQ(kCFBooleanTrue->description(), "1");
    EXPECT_FALSE(kCFBooleanFalse->boolValue());
}
