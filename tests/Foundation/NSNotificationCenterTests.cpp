#include "Platform/Foundation/NSNotification.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class NotificationListener : public NSObject {
    NS_OBJECT(NotificationListener)
public:
    void heard(NSNotification* notification)
    {
        lines.push_back(notification->name()->string());
        last = notification->object();
    }
    std::vector<std::string> lines;
    CFType* last = nullptr;
};

NS_IMPLEMENTATION(NotificationListener, NSObject)
{
    type.message("heard:", &NotificationListener::heard);
}

}

TEST(NSNotificationCenter, DeliversByNameAndObjectAtOnce)
{
    const auto center = make<NSNotificationCenter>();
    const auto listener = make<NotificationListener>();
    center->addObserver_selector_name_object(listener, "heard:", CFSTR("A"), nullptr);
    center->addObserver_selector_name_object(listener, "heard:", CFSTR("B"), CFSTR("mine"));
    center->postNotificationName_object(CFSTR("A"), CFSTR("any"));
    EXPECT_EQ(listener->last, CFSTR("any"));
    center->postNotificationName_object(CFSTR("B"), CFSTR("other"));
    center->postNotificationName_object(CFSTR("B"), CFSTR("mine"));
    center->postNotificationName_object(CFSTR("C"), nullptr);
    EXPECT_THAT(listener->lines, ElementsAre("A", "B"));
}

TEST(NSNotificationCenter, AskedForTwiceDeliversTwice)
{
    const auto center = make<NSNotificationCenter>();
    const auto listener = make<NotificationListener>();
    center->addObserver_selector_name_object(listener, "heard:", CFSTR("A"), nullptr);
    center->addObserver_selector_name_object(listener, "heard:", CFSTR("A"), nullptr);
    center->postNotificationName_object(CFSTR("A"), nullptr);
    EXPECT_EQ(listener->lines.size(), 2U);
    center->removeObserver_name_object(listener, CFSTR("A"), nullptr);
    center->postNotificationName_object(CFSTR("A"), nullptr);
    EXPECT_EQ(listener->lines.size(), 2U);
}

TEST(NSNotificationCenter, ForgetsListenersThatDied)
{
    const auto center = make<NSNotificationCenter>();
    const auto kept = make<NotificationListener>();
    {
        const auto listener = make<NotificationListener>();
        center->addObserver_selector_name_object(listener, "heard:", nullptr, nullptr);
    }
    center->addObserver_selector_name_object(kept, "heard:", nullptr, nullptr);
    center->postNotificationName_object(CFSTR("A"), nullptr);
    EXPECT_THAT(kept->lines, ElementsAre("A"));
}

TEST(NSNotificationCenter, ABlockWhoseEndRemovesAnObserverDoesNotWaitForItself)
{
    struct RemovesAtItsEnd : CFType {
        explicit RemovesAtItsEnd(NSNotificationCenter* from)
            : center(from)
        {
        }
        ~RemovesAtItsEnd() override { center->removeObserver(nullptr); }
        NSNotificationCenter* center;
    };
    const auto center = make<NSNotificationCenter>();
    int heard = 0;
    auto token = center->addObserverForName_object_queue_usingBlock(CFSTR("A"), nullptr, nullptr,
        [&heard, held = make<RemovesAtItsEnd>(center.get())](NSNotification*) { ++heard; });
    center->postNotificationName_object(CFSTR("A"), nullptr);
    auto* const observer = token.get();
    token = nullptr;
    center->removeObserver(observer);
    center->postNotificationName_object(CFSTR("A"), nullptr);
    EXPECT_EQ(heard, 1);
}
