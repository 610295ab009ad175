#include "Platform/AppKit/NSApplication.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class TestDelegate : public NSObject, public NSApplicationDelegate {
    NS_OBJECT(TestDelegate)
public:
    void applicationWillFinishLaunching(NSNotification* notification) override { note(notification); }
    void applicationDidFinishLaunching(NSNotification* notification) override { note(notification); }
    void applicationWillTerminate(NSNotification* notification) override
    {
        note(notification);
        // What a window that closes at the end does.
        NSApplication::sharedApplication()->terminate(this);
    }
    std::vector<std::string> heard;

private:
    void note(NSNotification* notification) { heard.emplace_back(textOf(notification->name())); }
};

NS_IMPLEMENTATION(TestDelegate, NSObject)
{
    type.message("applicationWillFinishLaunching:", &TestDelegate::applicationWillFinishLaunching);
    type.message("applicationDidFinishLaunching:", &TestDelegate::applicationDidFinishLaunching);
    type.message("applicationWillTerminate:", &TestDelegate::applicationWillTerminate);
}

class SilentDelegate : public NSObject, public NSApplicationDelegate {
    NS_OBJECT(SilentDelegate)
public:
    void applicationDidFinishLaunching(NSNotification*) override { called = true; }
    bool called = false;
};

NS_IMPLEMENTATION(SilentDelegate, NSObject) { }

TEST(NSApplication, TellsItsDelegateOfTheLaunchInOrder)
{
    const auto application = make<NSApplication>();
    const auto delegate = make<TestDelegate>();
    application->setDelegate(delegate);
    application->finishLaunching();
    EXPECT_THAT(delegate->heard,
        ElementsAre("NSApplicationWillFinishLaunchingNotification", "NSApplicationDidFinishLaunchingNotification"));
}

TEST(NSApplication, CallsOnlyWhatTheDelegateSaysItHas)
{
    const auto application = make<NSApplication>();
    const auto delegate = make<SilentDelegate>();
    application->setDelegate(delegate);
    application->finishLaunching();
    EXPECT_FALSE(delegate->called);
}

TEST(NSApplication, TerminatesOnceAndStopsTheEventLoopAfterTheDelegateWasTold)
{
    auto* const application = NSApplication::sharedApplication();
    const auto delegate = make<TestDelegate>();
    application->setDelegate(delegate);
    std::vector<std::size_t> heardWhenStopped;
    application->setStopEventLoop([&] { heardWhenStopped.push_back(delegate->heard.size()); });
    application->terminate(nullptr);
    application->terminate(nullptr);
    EXPECT_THAT(delegate->heard, ElementsAre("NSApplicationWillTerminateNotification"));
    EXPECT_THAT(heardWhenStopped, ElementsAre(1U));
    application->setStopEventLoop(nullptr);
}

TEST(NSApplication, HoldsItsDelegateWeakly)
{
    const AutoreleasePool pool;
    const auto application = make<NSApplication>();
    {
        const AutoreleasePool inner;
        application->setDelegate(make<TestDelegate>().get());
    }
    EXPECT_EQ(application->delegate(), nullptr);
}

}
