#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

TEST(FailPoint, FailsOnlyWhileArmed)
{
    EXPECT_FALSE(FAIL_POINT("tests.point"));
    {
        const FailPoint::Scope armed("tests.point", -50);
        EXPECT_EQ(FAIL_POINT("tests.point"), -50);
        EXPECT_FALSE(FAIL_POINT("tests.other"));
    }
    EXPECT_FALSE(FAIL_POINT("tests.point"));
}

TEST(FailPoint, SkipsAndCountsPasses)
{
    const FailPoint::Scope armed("tests.point", -1, 1, 2);
    EXPECT_FALSE(FAIL_POINT("tests.point"));
    EXPECT_TRUE(FAIL_POINT("tests.point"));
    EXPECT_TRUE(FAIL_POINT("tests.point"));
    EXPECT_FALSE(FAIL_POINT("tests.point"));
    EXPECT_EQ(FailPoint::passes("tests.point"), 4U);
}
