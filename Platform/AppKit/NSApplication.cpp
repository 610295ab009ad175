#include "Platform/AppKit/NSApplication.h"

NS_IMPLEMENTATION(NSApplication, NSObject)
{
    type.message("terminate:", &NSApplication::terminate);
    type.outlet("delegate", &NSApplication::delegate, &NSApplication::setDelegate);
    type.outlet("mainMenu", &NSApplication::mainMenu, &NSApplication::setMainMenu);
}

NSApplication* NSApplication::sharedApplication()
{
    static NSApplication* const application = [] {
        auto made = make<NSApplication>();
        made->makeImmortal();
        return made.get();
    }();
    return application;
}

NSObject* NSApplication::delegate() const
{
    return autorelease(mDelegate.strongReference());
}

void NSApplication::setDelegate(NSObject* delegate)
{
    mDelegate = delegate;
}

void NSApplication::finishLaunching()
{
    post(NSApplicationWillFinishLaunchingNotification,
        "applicationWillFinishLaunching:", &NSApplicationDelegate::applicationWillFinishLaunching);
    post(NSApplicationDidFinishLaunchingNotification,
        "applicationDidFinishLaunching:", &NSApplicationDelegate::applicationDidFinishLaunching);
}

void NSApplication::terminate(NSObject* /*sender*/)
{
    if (mTerminating)
        return;
    mTerminating = true;
    post(NSApplicationWillTerminateNotification,
        "applicationWillTerminate:", &NSApplicationDelegate::applicationWillTerminate);
    if (mStopEventLoop)
        mStopEventLoop();
}

void NSApplication::post(CFString* name, SEL selector, void (NSApplicationDelegate::*operation)(NSNotification*))
{
    const auto notification = make<NSNotification>(name, this, nullptr);
    const auto object = mDelegate.strongReference();
    if (auto* const told = kindOf<NSApplicationDelegate>(object); told && object->respondsToSelector(selector))
        (told->*operation)(notification);
    NSNotificationCenter::defaultCenter()->postNotificationName_object(name, this);
}
