#include "CoreLattice/LTCCompositionParameterView.h"

#include "CoreLattice/LTCCompositionParameterViewDelegate.h"
#include "tests/CoreLattice/Pictures.h"

#include <gmock/gmock.h>

namespace {

class ParameterDelegate : public NSObject, public LTCCompositionParameterViewDelegate {
    NS_OBJECT(ParameterDelegate)
public:
    bool compositionParameterView_shouldDisplayParameterWithKey_attributes(
        LTCCompositionParameterView*, CFString* key, CFDictionary* attributes) override
    {
        EXPECT_TRUE(attributes->objectForKey(LTCPortTypeKey));
        return key->string() != "hidden";
    }
    void compositionParameterView_didChangeParameterWithKey(LTCCompositionParameterView*, CFString* key) override
    {
        changes.push_back(key->string());
    }
    std::vector<std::string> changes;
};

NS_IMPLEMENTATION(ParameterDelegate, NSObject)
{
    type.message("compositionParameterView:shouldDisplayParameterWithKey:attributes:",
        &ParameterDelegate::compositionParameterView_shouldDisplayParameterWithKey_attributes);
    type.message("compositionParameterView:didChangeParameterWithKey:",
        &ParameterDelegate::compositionParameterView_didChangeParameterWithKey);
}

class Parameters : public testing::Test {
protected:
    void SetUp() override
    {
        renderer->loadComposition(Pictures::composition(R"(/*{ "LABEL": "Test", "INPUTS": [
            { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "hidden", "TYPE": "float" },
            { "NAME": "level", "LABEL": "Level", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.25, "MAX": 2 },
            { "NAME": "mode", "TYPE": "long", "VALUES": [3, 7], "LABELS": ["Three", "Seven"], "DEFAULT": 7 } ] }*/ void main() {})"));
        view->setCompositionRenderer(renderer);
        view->setDelegate(delegate);
    }
    LTCCompositionParameter& parameter(std::size_t index)
    {
        return *kindOf<LTCCompositionParameter>(view->parameters()->objectAtIndex(index));
    }
    double rendererNumber(const char* key)
    {
        return kindOf<CFNumber>(renderer->valueForInputKey(CFSTR(key)))->doubleValue();
    }
    const AutoreleasePool pool;
    const Ref<LTCView> renderer = make<LTCView>();
    const Ref<ParameterDelegate> delegate = make<ParameterDelegate>();
    const Ref<LTCCompositionParameterView> view = make<LTCCompositionParameterView>();
};

}

TEST_F(Parameters, ShowsWhatTheDelegateAllowsWithItsAttributes)
{
    ASSERT_EQ(view->parameters()->count(), 2U);
    EXPECT_EQ(view->compositionName()->string(), "Test");
    EXPECT_EQ(parameter(0).label()->string(), "Level");
    EXPECT_EQ(parameter(0).minimum(), 0.25);
    EXPECT_EQ(parameter(0).maximum(), 2);
    EXPECT_EQ(kindOf<CFNumber>(parameter(0).value())->doubleValue(), 0.5);
    EXPECT_EQ(parameter(1).selectedLabel()->string(), "Seven");
}

TEST_F(Parameters, AChangeReachesTheRendererAndTheDelegate)
{
    parameter(0).setValue_forKey(CFNumber::create(9).get(), "value");
    EXPECT_EQ(rendererNumber("level"), 2) << "held within its bounds";
    parameter(1).setValue_forKey(CFSTR("Three"), "selectedLabel");
    EXPECT_EQ(rendererNumber("mode"), 3);
    EXPECT_EQ(parameter(1).selectedIndex(), 0);
    EXPECT_THAT(delegate->changes, testing::ElementsAre("level", "mode"));
    view->resetParameters();
    EXPECT_EQ(rendererNumber("level"), 0.5);
    EXPECT_EQ(rendererNumber("mode"), 7);
}

TEST_F(Parameters, ShowsNothingWithoutAComposition)
{
    view->setCompositionRenderer(nullptr);
    EXPECT_EQ(view->parameters()->count(), 0U);
    EXPECT_EQ(view->compositionName()->string(), "");
}
