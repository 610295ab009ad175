#include "CoreLattice/ISFHeaderText.h"

#include <gtest/gtest.h>

using CoreLattice::ISFHeaderText;

namespace {

std::string jsonOf(const std::string& header)
{
    return ISFHeaderText("/*" + header + "*/").json();
}

}

TEST(ISFHeaderText, LeavesGoodJsonAsItIsButForBlanks)
{
    EXPECT_EQ(jsonOf(R"({"a": [1, -2.5, "x\n\"\u00e4", true, null], "b": {}})"),
        R"({"a":[1,-2.5,"x\n\"\u00e4",true,null],"b":{}})");
}

TEST(ISFHeaderText, MendsWhatHasOneMeaningOnly)
{
    EXPECT_EQ(jsonOf("{,\"a\":[1,,2,],}"), R"({"a":[1,2]})");
    EXPECT_EQ(jsonOf("{\"a\":1 \"b\":[{}{}]}"), R"({"a":1,"b":[{},{}]})");
    EXPECT_EQ(jsonOf("{\"a\":[.5,+1,2.,1.5f,007,-.25,1e999,-1e-999]}"), R"({"a":[0.5,1,2,1.5,7,-0.25,1e+30,-0]})");
    EXPECT_EQ(jsonOf("{a:'it is \"so\"', b:True}// end"), R"({"a":"it is \"so\"","b":true})");
    EXPECT_EQ(jsonOf("{\"a\":\"C:\\dir\tb\nc\"}"), R"({"a":"C:\\dir\tb\nc"})");
    EXPECT_EQ(jsonOf("{\"a\":\"\xe7\"}"), "{\"a\":\"\xc3\xa7\"}");
    EXPECT_EQ(jsonOf("**\n * {\n * \"a\": 1 // one\n * }\n**"), "{\"a\":1}");
    EXPECT_EQ(jsonOf("{\"a\":1} and so on {"), "{\"a\":1}");
}

TEST(ISFHeaderText, LeavesBrokenTextBroken)
{
    EXPECT_EQ(jsonOf("{\"a\":}"), "{\"a\":}");
    EXPECT_EQ(jsonOf("{\"a\":[1}"), "{\"a\":[1}");
    EXPECT_EQ(jsonOf("{\"a"), "{\"a");
    EXPECT_EQ(jsonOf("{\"a\\"), "{\"a");
    EXPECT_TRUE(ISFHeaderText("/*{" + std::string(40, '[') + "*/").isTooDeep());
}

TEST(ISFHeaderText, FindsTheHeaderAndItsLines)
{
    const ISFHeaderText text("// {\n/* licence */\n\n/*\n{ \"a\":\n 1 }*/ void main() {}");
    ASSERT_TRUE(text.isFound());
    EXPECT_EQ(text.firstLine(), 4);
    EXPECT_EQ(text.json(), "{\"a\":1}");
    EXPECT_EQ(text.lineAt(0), 5);
    EXPECT_EQ(text.lineAt(5), 6);
    EXPECT_EQ(text.lineAt(1000), 6);
    EXPECT_FALSE(ISFHeaderText("// only this").isFound());
    EXPECT_FALSE(ISFHeaderText("/* never ends").isFound());
}
