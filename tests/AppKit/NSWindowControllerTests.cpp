#include "Platform/AppKit/NSWindowController.h"

#include "Platform/AppKit/NSNib.h"

#include <gmock/gmock.h>

namespace {

class TestWindowController : public NSWindowController {
    NS_OBJECT(TestWindowController)
public:
    Ref<CFString> windowNibName() override { return CFString::create("TestWindowController"); }
    void windowDidLoad() override
    {
        ++loads;
        hadWindow = window() != nullptr;
    }
    int loads = 0;
    bool hadWindow = false;
};

NS_IMPLEMENTATION(TestWindowController, NSWindowController) { }

class NSWindowControllerTest : public testing::Test {
protected:
    void TearDown() override { NSNib::setLoader(nullptr); }
};

TEST_F(NSWindowControllerTest, LoadsItsFileOnceWhenTheWindowIsFirstAskedFor)
{
    const auto controller = make<TestWindowController>();
    int loads = 0;
    NSNib::setLoader([&](std::string_view name, NSObject* owner) -> std::optional<std::string> {
        ++loads;
        EXPECT_EQ(name, "TestWindowController");
        EXPECT_EQ(owner, controller.get());
        controller->setWindow(make<NSWindow>().get());
        return std::nullopt;
    });
    EXPECT_EQ(loads, 0);
    auto* const window = controller->window();
    EXPECT_TRUE(window);
    EXPECT_EQ(controller->window(), window);
    EXPECT_EQ(loads, 1);
    EXPECT_EQ(controller->loads, 1);
    EXPECT_TRUE(controller->hadWindow);
}

TEST_F(NSWindowControllerTest, HasNoWindowWhenItsFileIsWrong)
{
    const auto controller = make<TestWindowController>();
    NSNib::setLoader([](std::string_view, NSObject*) { return std::optional<std::string>("line 3: wrong"); });
    EXPECT_EQ(controller->window(), nullptr);
    EXPECT_EQ(controller->loads, 0);
}

TEST_F(NSWindowControllerTest, LoadsNothingWhenItWasGivenAWindow)
{
    NSNib::setLoader([](std::string_view, NSObject*) -> std::optional<std::string> {
        ADD_FAILURE();
        return std::nullopt;
    });
    const auto window = make<NSWindow>();
    const auto controller = make<NSWindowController>(window);
    EXPECT_EQ(controller->window(), window.get());
}

}
