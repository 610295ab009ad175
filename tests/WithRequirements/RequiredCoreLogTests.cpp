#include "WithRequirements/RequiredCoreLog.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/dispatch/dispatch.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "tests/WithRequirements/UnreadPipe.h"
#include "WithRequirements/Requirements.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
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
    seenByHook().push_back(string->string() + " on " + dispatch_queue_get_label(nullptr));
}

class NamedObject final : public CFType {
public:
    std::string description() override { return "what it says"; }
};

/// Shows itself when its last reference has gone.
class ShowsItselfAtItsEnd final : public CFType {
public:
    ~ShowsItselfAtItsEnd() override { __CFLogShowTypeRef(this); }
};

const char* const sLineFormat = "REQUIREMENT - SRC>>holds in RequiredCoreLogTests.cpp:%d (thread %d line %d)";

/// Fails \p count checks, which tell themselves apart by the function's name.
void failChecks(int thread, int count)
{
    for (int line = 0; line < count; ++line) {
        const auto name = "thread " + std::to_string(thread) + " line " + std::to_string(line);
        CFRequiredIn(name.c_str(), false, "holds");
    }
}

/// Requires that \p text is the lines of `failChecks`, whole, those of each thread in order.
void expectLines(const std::string& text, int threads, int count)
{
    std::vector<int> next(static_cast<std::size_t>(threads));
    std::size_t at = 0;
    for (std::size_t end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
        const auto one = text.substr(at, end - at);
        int where = 0;
        int thread = -1;
        int line = -1;
        ASSERT_EQ(std::sscanf(one.c_str(), sLineFormat, &where, &thread, &line), 3) << one;
        ASSERT_EQ(one, CFFormat(sLineFormat, { where, thread, line }));
        ASSERT_TRUE(thread >= 0 && thread < threads) << one;
        ASSERT_EQ(line, next[static_cast<std::size_t>(thread)]++) << one;
    }
    EXPECT_EQ(at, text.size()) << "the last line has no end";
    EXPECT_EQ(next, std::vector<int>(static_cast<std::size_t>(threads), count));
}

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
    __CFLogError(
        static_cast<const RequiredSourceSite*>(static_cast<const void*>(nullObjectAsText())), CFSTR("MESSAGE"));
    EXPECT_EQ(capture.text(), "\n\n");
}

TEST(RequiredCoreLog, FailedStringDropsItsLine)
{
    StandardErrorCapture capture;
    const RequiredSourceSite site { "File.cpp", "function", 12, "x" };
    for (std::uint64_t skip = 0; skip < 2; ++skip) {
        const FailPoint::Scope failing("CFStringCreateWithFormat", -1, skip);
        __CFLogError(&site, CFSTR("MESSAGE"));
    }
    const FailPoint::Scope failing("CFStringCreateWithFormat");
    __CFLogPrintf(CFSTR("a"));
    __CFNSLog(CFSTR("b"));
    __CFRequiredPrintf("c");
    __CFRequiredLogPrintf("d", "e");
    __CFRequiredLogString("f", "g");
    EXPECT_EQ(capture.text(), "");
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
    __CFRequiredLogPrintf(nullObjectAsText(), "x");
    __CFRequiredLogPrintf("x", nullObjectAsText());
    __CFRequiredPrintf("\xFF is no UTF-8");
    __CFRequiredLogString(nullptr, "second");
    __CFRequiredLogString("first", nullptr);
    __CFRequiredLogString("first", nullObjectAsText());
    __CFRequiredLogString(nullObjectAsText(), "second");
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
    EXPECT_TRUE(std::regex_match(text,
        std::regex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "
                   "WithRequirementsTests\\[[0-9]+:[0-9]+\\] what it says\n")))
        << text;
}

TEST(RequiredCoreLog, ObjectsThatAreAboutToEndAreNotShown)
{
    StandardErrorCapture capture;
    make<ShowsItselfAtItsEnd>();
    EXPECT_EQ(capture.text(), "");
}

TEST(RequiredCoreLog, DescriptionsAreTakenWhenTheCheckFails)
{
    StandardErrorCapture capture;
    auto value = CFDictionary::create({ { CFSTR("key"), CFSTR("old") } });
    __CFLogPrintf(CFSTR("%@"), value);
    value->set(CFSTR("key"), CFSTR("new"));
    __CFLogPrintf(CFSTR("%@"), value);
    EXPECT_EQ(capture.text(), "{\n    key = old;\n}\n{\n    key = new;\n}\n");
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
    EXPECT_EQ(
        seenByHook(), (std::vector<std::string> { "one on sCFTypeRefOutputQueue", "two on sCFTypeRefOutputQueue" }));
}

TEST(RequiredCoreLog, StringIsKeptUntilItIsWrittenAndNoLonger)
{
    StandardErrorCapture capture;
    std::promise<void> goOn;
    static std::shared_future<void> goesOn;
    goesOn = goOn.get_future().share();
    __CFLogSetLogStringFnPtr([](CFStringRef) { goesOn.wait(); });
    auto string = CFString::create("kept");
    const WeakRef<CFString> weak(string);
    __CFLogStringRefOnQueue(string);
    string = nullptr;
    EXPECT_FALSE(weak.isNull());
    goOn.set_value();
    __CFLogDrain();
    __CFLogSetLogStringFnPtr(nullptr);
    EXPECT_TRUE(weak.isNull());
    EXPECT_EQ(capture.text(), "kept\n");
}

TEST(RequiredCoreLog, TextsAreFormattedOnce)
{
    StandardErrorCapture capture;
    const RequiredSourceSite site { "%d.cpp", "%s", 12, "SRC>>a%b" };
    __CFLogError(&site, CFSTR("%s %@"), "100%d", CFSTR("%@"));
    __CFLogPrintf(CFSTR("%s"), "%s%n");
    EXPECT_EQ(capture.text(), "100%d %@ - SRC>>a%b in %d.cpp:12 (%s)\n%s%n\n");
}

TEST(RequiredCoreLog, ChecksOfManyThreadsArriveWholeAndThoseOfEachInOrder)
{
    constexpr int threads = 8;
    constexpr int count = 2000;
    StandardErrorCapture capture;
    {
        std::vector<std::jthread> failing;
        for (int thread = 0; thread < threads; ++thread)
            failing.emplace_back(failChecks, thread, count);
    }
    expectLines(capture.text(), threads, count);
}

TEST(RequiredCoreLog, CallersDoNotWaitForAStandardErrorThatNobodyReads)
{
    constexpr int count = 5000; // several times what a pipe holds
    UnreadPipe pipe;
    std::string text;
    {
        const StandardErrorAs unread(pipe.writingEnd());
        auto failing = std::async(std::launch::async, failChecks, 0, count);
        const bool cameBack = failing.wait_for(std::chrono::seconds(60)) == std::future_status::ready;
        EXPECT_TRUE(cameBack) << "the checks wait for the reader";
        auto reading = std::async(std::launch::async, [&] { return pipe.readToEnd(); });
        failing.get();
        __CFLogDrain();
        pipe.closeWritingEnd();
        ::close(STDERR_FILENO);
        text = reading.get();
    }
    expectLines(text, 1, count);
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
