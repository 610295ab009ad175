#include "Platform/AppKit/Quick/ElapsedTime.h"

#include "tests/AppKit/Quick/QuickTest.h"

namespace {

TEST(ElapsedTimeText, HasMinutesAndSecondsAndHoursWhenThereAreSome)
{
    EXPECT_EQ(ElapsedTime::textOfSeconds(0), QStringLiteral("00:00"));
    EXPECT_EQ(ElapsedTime::textOfSeconds(59), QStringLiteral("00:59"));
    EXPECT_EQ(ElapsedTime::textOfSeconds(3599), QStringLiteral("59:59"));
    EXPECT_EQ(ElapsedTime::textOfSeconds(3600), QStringLiteral("1:00:00"));
    EXPECT_EQ(ElapsedTime::textOfSeconds(36'061), QStringLiteral("10:01:01"));
}

class ElapsedTimeTest : public QuickTest { };

TEST_F(ElapsedTimeTest, CountsWhileItRunsAndStaysThen)
{
    ElapsedTime time;
    EXPECT_EQ(time.text(), QStringLiteral("00:00"));
    time.setRunning(true);
    EXPECT_TRUE(waitFor([&] { return time.text() == QStringLiteral("00:01"); }));
    time.setRunning(false);
    EXPECT_FALSE(time.isRunning());
    EXPECT_EQ(time.text(), QStringLiteral("00:01"));
    time.setRunning(true);
    EXPECT_EQ(time.text(), QStringLiteral("00:00"));
}

}
