#include "WithRequirements/RequiredCoreLog.h"

#include "Platform/dispatch/dispatch.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "WithRequirements/LoadTimeInitialisers.h"
#include "WithRequirements/Requirements.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace {

const char* nullObjectAsText()
{
    return static_cast<const char*>(static_cast<const void*>(static_cast<CFType*>(kCFNull)));
}

std::vector<std::string>& seenByHook()
{
    static std::vector<std::string> seen;
    return seen;
}

void hook(CFStringRef string)
{
    seenByHook().push_back(string->string());
}

class NamedObject final : public CFType {
public:
    std::string description() override { return "what it says"; }
};

}

TEST(RequiredCoreLog, ErrorLineHasMessageSourceFileLineAndFunction)
{
    StandardErrorCapture capture;
    const RequiredSourceSite site { "File.cpp", "function", 12, "SRC>>a>0" };
    __CFLogError(&site, CFSTR("MESSAGE %d"), 5);
    EXPECT_EQ(capture.text(), "MESSAGE 5 - SRC>>a>0 in File.cpp:12 (function)\n");
}

TEST(RequiredCoreLog, NullFieldsOfASitePrintAsEmptyTextAndKeepTheirSeparators)
{
    StandardErrorCapture capture;
    const RequiredSourceSite site { nullptr, nullptr, 3, nullptr };
    __CFLogError(&site, CFSTR("MESSAGE"));
    EXPECT_EQ(capture.text(), "MESSAGE -  in :3 ()\n");
}

TEST(RequiredCoreLog, NullSiteWritesAnEmptyLineAndLosesTheMessage)
{
    StandardErrorCapture capture;
    __CFLogError(nullptr, CFSTR("MESSAGE"));
    EXPECT_EQ(capture.text(), "\n");
}

TEST(RequiredCoreLog, FormatsThatAreNoStringsWriteNothing)
{
    StandardErrorCapture capture;
    const RequiredSourceSite site { "File.cpp", "function", 12, "x" };
    const auto object = make<NamedObject>();
    for (CFTypeRef format :
        { static_cast<CFTypeRef>(nullptr), static_cast<CFTypeRef>(kCFNull), static_cast<CFTypeRef>(object) }) {
        __CFLogError(&site, format);
        __CFLogPrintf(format);
        __CFNSLog(format);
        __CFLogStringRefOnQueue(format);
    }
    __CFRequiredPrintf(nullptr);
    __CFRequiredPrintf(nullObjectAsText());
    __CFRequiredLogPrintf(nullptr, "x");
    __CFRequiredLogPrintf("x", nullptr);
    __CFRequiredLogString(nullptr, "second");
    __CFRequiredLogString("first", nullptr);
    __CFRequiredLogString("first", nullObjectAsText());
    __CFLogShowTypeRef(nullptr);
    __CFLogShowTypeRef(kCFNull);
    EXPECT_EQ(capture.text(), "");
}

TEST(RequiredCoreLog, PlainFormattersAddNoLocation)
{
    StandardErrorCapture capture;
    __CFLogPrintf(CFSTR("a %s %d"), "b", -1);
    __CFNSLog(CFSTR("%@"), CFSTR("object"));
    __CFRequiredPrintf("%s|%d", "text", 7);
    __CFRequiredLogString("first", "second");
    EXPECT_EQ(capture.text(), "a b -1\nobject\ntext|7\nfirst:second\n");
}

TEST(RequiredCoreLog, PercentSignInAPrefixIsAConversion)
{
    StandardErrorCapture capture;
    __CFRequiredLogPrintf("P%d", "and %d", 1, 2);
    EXPECT_EQ(capture.text(), "P1 and 2\n");
}

TEST(RequiredCoreLog, ShownObjectsGoOutThroughNSLog)
{
    StandardErrorCapture capture;
    __CFLogShowTypeRef(make<NamedObject>().get());
    const auto text = capture.text();
    EXPECT_TRUE(text.ends_with("what it says\n")) << text;
    EXPECT_GT(text.size(), std::string("what it says\n").size()) << "date, program and thread come first";
}

TEST(RequiredCoreLog, HookSeesEachLineOnceAndStandardErrorStillReceivesIt)
{
    StandardErrorCapture capture;
    seenByHook().clear();
    __CFLogSetLogStringFnPtr(hook);
    __CFLogPrintf(CFSTR("one"));
    __CFLogPrintf(CFSTR("two"));
    __CFLogDrain();
    __CFLogSetLogStringFnPtr(nullptr);
    __CFLogPrintf(CFSTR("three"));
    EXPECT_EQ(capture.text(), "one\ntwo\nthree\n");
    EXPECT_EQ(seenByHook(), (std::vector<std::string> { "one", "two" }));
}

TEST(RequiredCoreLog, LinesOfManyThreadsNeverMix)
{
    StandardErrorCapture capture;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([thread] {
                for (int line = 0; line < 200; ++line)
                    __CFLogPrintf(CFSTR("line %d of thread %d ends here"), line, thread);
            });
        }
    }
    const auto text = capture.text();
    int next[4] {};
    std::size_t at = 0;
    int lines = 0;
    for (std::size_t end; (end = text.find('\n', at)) != std::string::npos; at = end + 1, ++lines) {
        int line = -1;
        int thread = -1;
        int used = 0;
        const auto one = text.substr(at, end - at);
        ASSERT_EQ(std::sscanf(one.c_str(), "line %d of thread %d ends here%n", &line, &thread, &used), 2) << one;
        ASSERT_EQ(static_cast<std::size_t>(used), one.size()) << one;
        EXPECT_EQ(line, next[thread]++);
    }
    EXPECT_EQ(lines, 800);
}

TEST(RequiredCoreLogDeathTest, LinesAfterTheLogsEndAreDroppedWithoutAFault)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            __CFLogPrintf(CFSTR("before"));
            __CFLogDrain();
            RequiredCoreLogTypeRefDestructor();
            __CFLogPrintf(CFSTR("after"));
            __CFLogShowTypeRef(CFSTR("after"));
            CFRequired(false, "after");
            RequiredCoreLogTypeRefDestructor();
            RequiredCoreLogTypeRefConstructor();
            __CFLogPrintf(CFSTR("after"));
            _exit(7);
        },
        testing::ExitedWithCode(7), "^before\n$");
}

TEST(RequiredFileName, IsWhatFollowsTheLastSlash)
{
    static_assert(requiredCpp::baseName("a/b/File.cpp", sizeof("a/b/File.cpp"))[0] == 'F');
    EXPECT_STREQ(__CFConstStaticJustFileNameASCII("/a/File.cpp", sizeof("/a/File.cpp")), "File.cpp");
    EXPECT_STREQ(__CFConstStaticJustFileNameUTF8("/a/File.cpp"), "File.cpp");
    EXPECT_STREQ(__CFConstStaticJustFileNameASCII("a/", sizeof("a/")), "");
    EXPECT_STREQ(REQUIRED_FILE, "RequiredCoreLogTests.cpp");
}

TEST(RequiredFileName, IsThePathWithoutASlashAndNullForNull)
{
    const char* const path = "File.cpp";
    EXPECT_EQ(__CFConstStaticJustFileNameASCII(path, sizeof("File.cpp")), path);
    EXPECT_EQ(__CFConstStaticJustFileNameUTF8(path), path);
    EXPECT_EQ(__CFConstStaticJustFileNameASCII(nullptr, 1), nullptr);
    EXPECT_EQ(__CFConstStaticJustFileNameUTF8(nullptr), nullptr);
}

namespace {

/// Runs before `main`, as the code of other load-time steps does.
const bool sQueueExistedBeforeMain = [] {
    WithRequirementsRunLoadTimeInitialisers();
    return NSRequiredNotNSNullCachedValue == kCFNull;
}();

}

TEST(LoadTimeInitialisers, HaveRunBeforeMain)
{
    EXPECT_TRUE(sQueueExistedBeforeMain);
}
