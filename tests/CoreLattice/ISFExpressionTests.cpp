#include "CoreLattice/ISFExpression.h"

#include <gtest/gtest.h>

using CoreLattice::ISFExpression;

namespace {

double valueOf(std::string_view text)
{
    std::string message;
    const auto expression = ISFExpression::parse(text, &message);
    EXPECT_TRUE(expression) << text << ": " << message;
    return expression ? expression->evaluate([](std::string_view name) -> std::optional<double> {
        if (name == "WIDTH")
            return 1280;
        if (name == "HEIGHT")
            return 720;
        return name == "scale" ? std::optional(0.25) : std::nullopt;
    })
                      : -1;
}

std::string faultOf(std::string_view text)
{
    std::string message;
    EXPECT_FALSE(ISFExpression::parse(text, &message)) << text;
    return message;
}

}

TEST(ISFExpression, FollowsTheUsualOrderOfOperations)
{
    EXPECT_EQ(valueOf("$WIDTH/2.0"), 640);
    EXPECT_EQ(valueOf("2 + 3 * 4 - 6 / 3"), 12);
    EXPECT_EQ(valueOf("(2 + 3) * -4"), -20);
    EXPECT_EQ(valueOf("10 - 3 - 2"), 5);
    EXPECT_EQ(valueOf(" floor( $WIDTH * $scale / 3 ) "), 106);
    EXPECT_EQ(valueOf("max(1.0, min($HEIGHT, 100))"), 100);
    EXPECT_EQ(valueOf("pow(2, 10)"), 1024);
    EXPECT_EQ(valueOf("WIDTH % 7 + 2^3^2"), 518);
    EXPECT_EQ(valueOf("+max(1, 5, 3) - min(4, 2.0f, 3)"), 3);
    EXPECT_EQ(valueOf("trunc(-1.5) + mod(7, 4) + log2(8) + cos(0)"), 6);
}

TEST(ISFExpression, HasTheValueZeroWhereThereIsNone)
{
    EXPECT_EQ(valueOf("1 / 0"), 0);
    EXPECT_EQ(valueOf("sqrt(0 - 1)"), 0);
    EXPECT_EQ(valueOf("$unknown"), 0);
}

TEST(ISFExpression, SaysWhatIsWrong)
{
    EXPECT_EQ(faultOf("$WIDTH /"), "the formula ends too early");
    EXPECT_EQ(faultOf("(1 + 2"), "\")\" is missing");
    EXPECT_EQ(faultOf("system(1)"), "\"system\" is no function");
    EXPECT_EQ(faultOf("1 2"), "unexpected \"2\"");
    EXPECT_EQ(faultOf("$"), "a name must follow \"$\"");
    EXPECT_EQ(faultOf(std::string(300, '1')), "the formula is longer than 256 characters");
    EXPECT_EQ(faultOf(std::string(40, '(') + "1" + std::string(40, ')')), "the formula is nested too deeply");
    EXPECT_EQ(faultOf(std::string(200, '-') + "1"), "the formula is nested too deeply");
}
