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
        return key->string() != "hidden" && key->string() != "inputImage";
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
            { "NAME": "level", "LABEL": "Level", "TYPE": "float", "DEFAULT": 0.5, "MIN": 0.25, "MAX": 2, "UNIT": "px" },
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
    EXPECT_EQ(parameter(0).unit()->string(), "px");
    EXPECT_EQ(parameter(1).unit()->string(), "");
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

TEST_F(Parameters, BoundsThatTheFileLeavesOutHoldTheDefault)
{
    renderer->loadComposition(Pictures::composition(R"(/*{ "INPUTS": [
        { "NAME": "large", "TYPE": "float", "DEFAULT": 5 }, { "NAME": "negative", "TYPE": "float", "DEFAULT": -3 },
        { "NAME": "above", "TYPE": "float", "DEFAULT": 12, "MIN": 10 },
        { "NAME": "least", "TYPE": "float", "MIN": 4 }, { "NAME": "most", "TYPE": "float", "MAX": -2 },
        { "NAME": "place", "TYPE": "point2D", "DEFAULT": [320, -240] },
        { "NAME": "outside", "TYPE": "float", "DEFAULT": 7, "MIN": 0, "MAX": 2 } ] }*/ void main() {})"));
    const std::array<std::array<double, 2>, 5> bounds { { { 0, 5 }, { -3, 1 }, { 10, 12 }, { 4, 5 }, { -3, -2 } } };
    for (std::size_t i = 0; i < bounds.size(); ++i) {
        EXPECT_EQ(parameter(i).minimum(), bounds[i][0]) << i;
        EXPECT_EQ(parameter(i).maximum(), bounds[i][1]) << i;
    }
    EXPECT_EQ(parameter(5).minimum(), 0);
    EXPECT_EQ(parameter(5).maximum(), 320);
    EXPECT_EQ(parameter(5).minimumUpwards(), -240);
    EXPECT_EQ(parameter(5).maximumUpwards(), 1);
    parameter(0).setValue(CFNumber::create(0.5).get());
    parameter(6).setValue(CFNumber::create(1).get());
    view->resetParameters();
    EXPECT_EQ(rendererNumber("large"), 5);
    EXPECT_EQ(rendererNumber("outside"), 7) << "a reset brings back what the file begins with";
}
