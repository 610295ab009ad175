#include "Platform/AppKit/NSView.h"

#include "Platform/AppKit/NSButton.h"

#include <gmock/gmock.h>

namespace {

class ButtonTarget : public NSObject {
    NS_OBJECT(ButtonTarget)
public:
    void press(NSObject* sender) { lastSender = sender; }
    Ref<NSObject> lastSender;
};

NS_IMPLEMENTATION(ButtonTarget, NSObject)
{
    type.message("press:", &ButtonTarget::press);
}

class CountingLayerHost : public CALayerHost {
public:
    void layerNeedsDisplay() override { ++count; }
    int count = 0;
};

TEST(NSView, GetsALayerOfItsOwnWhenItWantsOne)
{
    const AutoreleasePool pool;
    const auto view = make<NSView>();
    EXPECT_EQ(view->layer(), nullptr);
    view->setWantsLayer(true);
    const Ref<CALayer> own(view->layer());
    ASSERT_TRUE(own);
    view->setWantsLayer(true);
    EXPECT_EQ(view->layer(), own.get());
}

TEST(NSView, KeepsTheLayerThatItIsGiven)
{
    const AutoreleasePool pool;
    const auto view = make<NSView>();
    const auto layer = make<CALayer>();
    view->setLayer(layer);
    view->setWantsLayer(true);
    EXPECT_EQ(view->layer(), layer.get());
}

TEST(NSView, RedrawsItsLayerWhenItNeedsDisplay)
{
    const AutoreleasePool pool;
    const auto view = make<NSView>();
    view->setWantsLayer(true);
    CountingLayerHost host;
    view->layer()->setHost(&host);
    view->setNeedsDisplay(false);
    EXPECT_EQ(host.count, 0);
    view->setNeedsDisplay(true);
    EXPECT_EQ(host.count, 1);
    view->layer()->setHost(nullptr);
}

TEST(NSView, HasBoundsOfItsFramesSizeAtItsOwnOrigin)
{
    const auto view = make<NSView>(NSMakeRect(10, 20, 300, 200));
    EXPECT_EQ(view->bounds(), NSMakeRect(0, 0, 300, 200));
    view->setFrameSize({ 640, 360 });
    EXPECT_EQ(view->frame(), NSMakeRect(10, 20, 640, 360));
}

TEST(NSButton, SendsItsActionWithItselfAsSenderUnlessDisabled)
{
    const AutoreleasePool pool;
    const auto target = make<ButtonTarget>();
    const auto button = make<NSButton>();
    button->setTarget(target);
    button->setAction("press:");
    button->setEnabled(false);
    button->performClick(nullptr);
    EXPECT_FALSE(target->lastSender);
    button->setEnabled(true);
    button->performClick(nullptr);
    EXPECT_EQ(target->lastSender.get(), button.get());
}

}
