#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"

#include "CoreLattice/LTCCompositionPickerView.h"
#include "CoreLattice/LTCCompositionRepository.h"
#include "Platform/AppKit/NSColor.h"
#include "Platform/CoreImage/CIImage.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSNotification.h"
#include "tests/WithRequirements/WholeLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace {

using testing::ElementsAre;

const WholeLines whole("LTCCamWindowController+Compositions.cpp");

Ref<CVPixelBuffer> frame(std::size_t width = 64, std::size_t height = 36)
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, nullptr, &buffer), 0);
    return buffer;
}

/// A picker that notes what it is told.
class NotingPicker : public NSObject, public LTCCompositionPickerViewProtocol {
    NS_OBJECT(NotingPicker)
public:
    void setCompositionsFromRepositoryWithProtocol_andAttributes(CFString* protocol, CFDictionary* attributes) override
    {
        const bool isFilter = CFEqual(protocol, QCCompositionProtocolImageFilter);
        calls.push_back(isFilter && !attributes ? "setCompositions" : "other compositions");
    }
    void startAnimation(NSObject* sender) override { note("startAnimation", sender); }
    void stopAnimation(NSObject*) override { calls.push_back("stopAnimation"); }
    bool isAnimating() const override { return false; }
    void setDefaultValue_forInputKey(CFType* value, CFString* key) override
    {
        calls.push_back("setDefaultValue " + key->string());
        values.emplace_back(value);
        wereOnMainThread = wereOnMainThread && DispatchMain::isMainThread();
    }
    void resetDefaultInputValues() override { calls.push_back("resetDefaultInputValues"); }
    NSObject* delegate() const override { return nullptr; }
    void setDelegate(NSObject* delegate) override { note("setDelegate", delegate); }
    CFArray* compositions() const override { return nullptr; }
    bool showsCompositionNames() const override { return false; }
    void setShowsCompositionNames(bool shows) override { calls.push_back(shows ? "showNames" : "hideNames"); }
    bool allowsEmptySelection() const override { return false; }
    void setAllowsEmptySelection(bool allows) override { calls.push_back(allows ? "allowEmpty" : "forbidEmpty"); }
    CGSize compositionAspectRatio() const override { return {}; }
    void setCompositionAspectRatio(CGSize) override { calls.push_back("setCompositionAspectRatio"); }
    QCComposition* selectedComposition() const override { return nullptr; }
    void setSelectedComposition(QCComposition*) override { calls.push_back("setSelectedComposition"); }
    float maxAnimationFrameRate() const override { return 0; }
    void setMaxAnimationFrameRate(float) override { calls.push_back("setMaxAnimationFrameRate"); }
    NSColor* backgroundColor() const override { return nullptr; }
    void setBackgroundColor(NSColor*) override { calls.push_back("setBackgroundColor"); }
    bool drawsBackground() const override { return false; }
    void setDrawsBackground(bool) override { calls.push_back("setDrawsBackground"); }
    std::uint64_t numberOfRows() const override { return 0; }
    void setNumberOfRows(std::uint64_t) override { calls.push_back("setNumberOfRows"); }

    const NSObject* expected = nullptr; ///< the one that delegate and sender are to be
    std::vector<std::string> calls;
    std::vector<Ref<CFType>> values;
    bool wereOnMainThread = true;

private:
    void note(const std::string& call, const NSObject* object)
    {
        calls.push_back(object == expected ? call : call + " with something else");
    }
};

NS_IMPLEMENTATION(NotingPicker, NSObject) { }

class CompositionSelection : public testing::Test {
protected:
    void SetUp() override
    {
        controller->outletQCView = view;
        controller->outletQCPickerView = picker.get();
        controller->outletQCParameterView = parameters;
        picker->expected = controller;
    }
    void TearDown() override { DispatchMain::drain(); }
    static QCComposition* registered(const char* name)
    {
        LTCCompositionRepository::sharedCompositionRepository()->registerApplicationCompositionWithName(CFSTR(name));
        return LTCCompositionRepository::compositionWithName(CFSTR(name));
    }
    std::string loaded() const
    {
        auto* const composition = view->loadedComposition();
        return composition ? composition->identifier()->string() : "none";
    }
    bool includes(const char* identifier) const
    {
        const auto composition = make<QCComposition>(CFSTR(identifier), registered("QCImageFilterRetro")->document());
        return controller->compositionPickerView_shouldIncludeComposition(nullptr, composition);
    }
    static void notify(const Ref<CFDictionary>& userInfo)
    {
        NSNotificationCenter::defaultCenter()->postNotificationName_object_userInfo(
            QCCompositionPickerPanelDidSelectCompositionNotification, make<NSObject>().get(), userInfo.get());
    }

    const AutoreleasePool pool;
    const Ref<LTCCamWindowController> controller = make<LTCCamWindowController>();
    const Ref<QCViewWithImageFilterOutput> view = make<QCViewWithImageFilterOutput>();
    const Ref<NotingPicker> picker = make<NotingPicker>();
    const Ref<LTCCompositionParameterView> parameters = make<LTCCompositionParameterView>();
};

}

TEST_F(CompositionSelection, ALaunchRegistersThreeCompositionsInTheirOrderAndLoadsTheFirst)
{
    controller->applicationWillFinishLaunching(nullptr);
    const auto all = LTCCompositionRepository::sharedCompositionRepository()
                         ->compositionsWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr)
                         ->values();
    std::vector<std::string> first;
    for (std::size_t i = 0; i < 3; ++i)
        first.push_back(kindOf<QCComposition>(all.at(i))->identifier()->string());
    EXPECT_THAT(first, ElementsAre("/QCImageFilterProtocol", "/QCImageFilterRadar", "/QCImageFilterRetro"));
    EXPECT_EQ(loaded(), "/QCImageFilterProtocol");
    EXPECT_EQ(parameters->compositionRenderer(), view);
    EXPECT_EQ(parameters->delegate(), controller);
}

TEST_F(CompositionSelection, ThePickerHasItsDelegateBeforeItAsksWhatToInclude)
{
    StandardErrorCapture log;
    controller->prepareLTCCompositionPickerView();
    EXPECT_THAT(
        picker->calls, ElementsAre("setDelegate", "allowEmpty", "showNames", "setCompositions", "startAnimation"));
    EXPECT_EQ(log.text(), "");
}

TEST_F(CompositionSelection, APickerIsNotSetUpWithoutAView)
{
    controller->outletQCView = nullptr;
    StandardErrorCapture log;
    controller->prepareLTCCompositionPickerView();
    EXPECT_THAT(picker->calls, testing::IsEmpty());
    EXPECT_EQ(log.text(), "");
}

TEST_F(CompositionSelection, NoPickerIsNothingToReport)
{
    controller->outletQCPickerView = nullptr;
    StandardErrorCapture log;
    controller->prepareLTCCompositionPickerView();
    EXPECT_EQ(log.text(), "");
}

TEST_F(CompositionSelection, APickerWithoutItsProtocolIsReportedAndLeftAlone)
{
    const auto impostor = make<NSObject>();
    controller->outletQCPickerView = impostor;
    StandardErrorCapture log;
    controller->prepareLTCCompositionPickerView();
    EXPECT_EQ(linesOf(log),
        whole.condition("[self.outletQCPickerView conformsToProtocol:@protocol(LTCCompositionPickerViewProtocol)]",
            "prepareLTCCompositionPickerView"));
}

TEST_F(CompositionSelection, TheRealPickerOffersNothingThatIsHidden)
{
    for (const auto* const name : { "QCImageFilterProtocol", "QCImageFilterRadar", "QCImageFilterRetro" })
        ASSERT_TRUE(registered(name));
    const auto real = make<LTCCompositionPickerView>();
    controller->outletQCPickerView = real.get();
    controller->prepareLTCCompositionPickerView();
    std::vector<std::string> offered;
    for (const auto& value : real->compositions()->values())
        offered.push_back(kindOf<QCComposition>(value)->identifier()->string());
    EXPECT_THAT(offered, testing::Contains("/QCImageFilterRadar"));
    for (const auto* const hidden : { "/exposure adjust", "/gamma adjust", "/image resizer", "/sharpen" }) {
        EXPECT_TRUE(LTCCompositionRepository::compositionWithName(CFSTR(hidden + 1))) << "there is one to be hidden";
        EXPECT_THAT(offered, testing::Not(testing::Contains(hidden)));
    }
    EXPECT_TRUE(real->isAnimating());
    EXPECT_TRUE(real->allowsEmptySelection());
    EXPECT_TRUE(real->showsCompositionNames());
    real->stopAnimation(nullptr);
}

TEST_F(CompositionSelection, FourIdentifiersAreHiddenAndNoOther)
{
    for (const auto* const hidden : { "/exposure adjust", "/gamma adjust", "/image resizer", "/sharpen" })
        EXPECT_FALSE(includes(hidden)) << hidden;
    for (const auto* const shown : { "/Sharpen", "sharpen", "/sharpen.fs", "/unsharp", "" })
        EXPECT_TRUE(includes(shown)) << shown;
}

TEST_F(CompositionSelection, TheHiddenSetsAreMadeOnceForAControllerAndBelongToWhoAsksTheClass)
{
    EXPECT_EQ(controller->hiddenCompositionIdentifiers(), nullptr);
    EXPECT_EQ(controller->hiddenProtocolKeys(), nullptr);
    includes("/sharpen");
    controller->compositionParameterView_shouldDisplayParameterWithKey_attributes(nullptr, CFSTR("a"), nullptr);
    const Ref<NSSet> identifiers = controller->hiddenCompositionIdentifiers();
    const Ref<NSSet> keys = controller->hiddenProtocolKeys();
    ASSERT_TRUE(identifiers);
    ASSERT_TRUE(keys);
    EXPECT_EQ(identifiers->count(), 4U);
    EXPECT_EQ(keys->count(), 5U);
    includes("/sharpen");
    controller->compositionParameterView_shouldDisplayParameterWithKey_attributes(nullptr, CFSTR("a"), nullptr);
    EXPECT_EQ(controller->hiddenCompositionIdentifiers(), identifiers);
    EXPECT_EQ(controller->hiddenProtocolKeys(), keys);
    const auto own = LTCCamWindowController::copyHiddenProtocolKeys();
    EXPECT_NE(own, keys);
    EXPECT_EQ(own->retainCount(), 1);
    EXPECT_EQ(LTCCamWindowController::copyHiddenCompositionIdentifiers()->retainCount(), 1);
}

TEST_F(CompositionSelection, TheImageIsHiddenWhateverTheSetHolds)
{
    const auto shows = [&](CFString* key) {
        return controller->compositionParameterView_shouldDisplayParameterWithKey_attributes(nullptr, key, nullptr);
    };
    controller->setHiddenProtocolKeys(make<NSSet>(std::initializer_list<std::string_view> { "level" }).get());
    EXPECT_FALSE(shows(CFSTR("level")));
    EXPECT_TRUE(shows(QCCompositionInputXKey));
    EXPECT_FALSE(shows(CFString::create("inputImage").get()));
    controller->setHiddenCompositionIdentifiers(make<NSSet>(std::initializer_list<std::string_view> { "/mine" }).get());
    EXPECT_FALSE(includes("/mine"));
    EXPECT_TRUE(includes("/sharpen"));
}

TEST_F(CompositionSelection, WhatIsSelectedIsLoadedAsACopyEachTime)
{
    auto* const retro = registered("QCImageFilterRetro");
    controller->compositionPickerView_didSelectComposition(nullptr, retro);
    const Ref<QCComposition> first = view->loadedComposition();
    ASSERT_TRUE(first);
    EXPECT_NE(first.get(), retro);
    EXPECT_TRUE(CFEqual(first, retro));
    controller->compositionPickerView_didSelectComposition(nullptr, retro);
    const Ref<QCComposition> second = view->loadedComposition();
    EXPECT_NE(second, first);
    EXPECT_TRUE(CFEqual(second, retro));
}

TEST_F(CompositionSelection, EachLoadCouplesTheParameterViewAnew)
{
    controller->selectComposition(registered("QCImageFilterRetro"));
    EXPECT_EQ(parameters->compositionRenderer(), view);
    EXPECT_EQ(parameters->compositionName()->string(), "Retro");
    EXPECT_EQ(parameters->delegate(), controller);
    parameters->setCompositionRenderer(nullptr);
    parameters->setDelegate(nullptr);
    controller->selectComposition(nullptr);
    EXPECT_FALSE(parameters->compositionRenderer()) << "nothing was loaded";
    controller->selectComposition(registered("QCImageFilterRadar"));
    EXPECT_EQ(parameters->compositionRenderer(), view);
    EXPECT_EQ(parameters->delegate(), controller);
    EXPECT_EQ(parameters->compositionName()->string(), "Radar");
    for (const auto& value : parameters->parameters()->values()) {
        const auto key = kindOf<LTCCompositionParameter>(value)->key()->string();
        EXPECT_FALSE(key == "inputImage" || key == "inputX" || key == "inputY") << key;
    }
}

TEST_F(CompositionSelection, WithoutAViewTheParameterViewIsLeftAlone)
{
    controller->outletQCView = nullptr;
    StandardErrorCapture log;
    controller->selectComposition(registered("QCImageFilterRetro"));
    EXPECT_FALSE(parameters->compositionRenderer());
    EXPECT_FALSE(parameters->delegate());
    EXPECT_EQ(log.text(), "");
}

TEST_F(CompositionSelection, AnotherPanelsChoiceArrivesByNotification)
{
    controller->applicationDidFinishLaunching(nullptr);
    notify(CFDictionary::create({ { CFSTR("QCComposition"), registered("QCImageFilterRadar") } }));
    EXPECT_EQ(loaded(), "/QCImageFilterRadar");
    notify(nullptr);
    notify(CFDictionary::create({ { CFSTR("composition"), registered("QCImageFilterRetro") } }));
    notify(CFDictionary::create({ { CFSTR("QCComposition"), CFSTR("text") } }));
    EXPECT_EQ(loaded(), "/QCImageFilterRadar");
    controller->applicationWillTerminate(nullptr);
    notify(CFDictionary::create({ { CFSTR("QCComposition"), registered("QCImageFilterRetro") } }));
    EXPECT_EQ(loaded(), "/QCImageFilterRadar");
    view->stopRendering();
}

TEST_F(CompositionSelection, ANameThatNobodyRegisteredLeavesTheViewWithoutAComposition)
{
    controller->selectComposition(LTCCompositionRepository::compositionWithName(CFSTR("QCImageFilterNowhere")));
    EXPECT_EQ(loaded(), "none");
}

TEST_F(CompositionSelection, EveryFrameIsGivenToThePickerOnTheMainThreadNoneLeftOut)
{
    const std::array frames { frame(), frame(), frame() };
    std::thread([&] {
        for (const auto& each : frames)
            controller->setQCPickerViewPreviewInputImage(each);
    }).join();
    EXPECT_THAT(picker->calls, testing::IsEmpty());
    for (const auto& each : frames)
        EXPECT_EQ(each->retainCount(), 2) << "held until its turn";
    DispatchMain::drain();
    EXPECT_THAT(picker->calls,
        ElementsAre("setDefaultValue inputImage", "setDefaultValue inputImage", "setDefaultValue inputImage"));
    EXPECT_TRUE(picker->wereOnMainThread);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        auto* const image = kindOf<CIImage>(picker->values[i]);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->pixelBuffer(), frames[i]);
        // Without a renderer for thumbnails it is the whole frame, a quarter as large.
        EXPECT_EQ(image->extent(), CGRectMake(0, 0, 16, 9));
    }
    picker->values.clear();
    for (const auto& each : frames)
        EXPECT_EQ(each->retainCount(), 1);
}

TEST_F(CompositionSelection, AFrameOnTheMainThreadWaitsItsTurnToo)
{
    controller->setQCPickerViewPreviewInputImage(frame().get());
    EXPECT_THAT(picker->calls, testing::IsEmpty());
    DispatchMain::drain();
    EXPECT_THAT(picker->calls, ElementsAre("setDefaultValue inputImage"));
}

TEST_F(CompositionSelection, ThePickerGetsTheThumbnailOfTheRenderer)
{
    const auto context = make<AVCaptureAcceleratedContext>();
    const auto renderer = make<LTCThumbnailInputRenderer>();
    context->setDelegate(renderer);
    context->awakeFromNib();
    controller->outletThumbnailRenderer = renderer;
    controller->setQCPickerViewPreviewInputImageOnMainThread(frame(1280, 720).get());
    ASSERT_EQ(picker->values.size(), 1U);
    auto* const image = kindOf<CIImage>(picker->values[0]);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->extent(), CGRectMake(0, 0, 640, 360));
    EXPECT_EQ(image->pixelBuffer()->retainCount(), 1) << "the image's own";
}

TEST_F(CompositionSelection, AnEmptyFrameIsReportedAndNotGivenOn)
{
    StandardErrorCapture log;
    controller->setQCPickerViewPreviewInputImage(nullptr);
    DispatchMain::drain();
    EXPECT_EQ(linesOf(log), whole.notNull("videoImage", "setQCPickerViewPreviewInputImage"));
    EXPECT_THAT(picker->calls, testing::IsEmpty());
}

TEST_F(CompositionSelection, AChangedParameterIsStoredNowhere)
{
    StandardErrorCapture log;
    controller->compositionParameterView_didChangeParameterWithKey(parameters, CFSTR("level"));
    controller->prepareLTCCompositionPreviewView();
    EXPECT_THAT(picker->calls, testing::IsEmpty());
    EXPECT_EQ(log.text(), "");
}
