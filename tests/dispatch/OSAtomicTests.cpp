#include "Platform/dispatch/OSAtomic.h"

#include <gtest/gtest.h>

TEST(OSAtomic, CountsAndWrapsAround)
{
    std::atomic<std::int32_t> value { 0 };
    EXPECT_EQ(OSAtomicIncrement32Barrier(&value), 1);
    EXPECT_EQ(OSAtomicDecrement32Barrier(&value), 0);
    EXPECT_EQ(OSAtomicDecrement32Barrier(&value), -1);
    value = INT32_MAX;
    EXPECT_EQ(OSAtomicIncrement32Barrier(&value), INT32_MIN);
    EXPECT_EQ(OSAtomicDecrement32Barrier(&value), INT32_MAX);
}
