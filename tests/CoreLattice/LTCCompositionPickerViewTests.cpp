#include "CoreLattice/CompiledCompositions.h"
#include "CoreLattice/LTCCompositionPickerView.h"

#include "CoreLattice/LTCCompositionRepository.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/CoreImage/CIImage.h"
#include "Platform/dispatch/dispatch.h"
#include "tests/CoreLattice/Pictures.h"

#include <gmock/gmock.h>

namespace {

class PickerDelegate : public NSObject, public LTCCompositionPickerViewDelegate {
    NS_OBJECT(PickerDelegate)
public:
    void compositionPickerView_didSelectComposition(LTCCompositionPickerView*, QCComposition* composition) override
    {
        selections.push_back(composition ? composition->identifier()->string() : "none");
    }
    bool compositionPickerView_shouldIncludeComposition(LTCCompositionPickerView*, QCComposition* composition) override
    {
        return composition->identifier()->string() != "/sharpen";
    }
    std::vector<std::string> selections;
};

NS_IMPLEMENTATION(PickerDelegate, NSObject)
{
    type.message(
        "compositionPickerView:didSelectComposition:", &PickerDelegate::compositionPickerView_didSelectComposition);
    type.message("compositionPickerView:shouldIncludeComposition:",
        &PickerDelegate::compositionPickerView_shouldIncludeComposition);
}

class Picker : public testing::Test {
protected:
    void SetUp() override
    {
        for (const auto* const name : { "QCImageFilterProtocol", "QCImageFilterRadar", "QCImageFilterRetro" })
            LTCCompositionRepository::sharedCompositionRepository()->registerApplicationCompositionWithName(
                CFSTR(name));
        picker->setDelegate(delegate);
        picker->setAllowsEmptySelection(true);
        picker->setCompositionsFromRepositoryWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr);
    }
    LTCCompositionPickerTile& tile(std::size_t index)
    {
        return *kindOf<LTCCompositionPickerTile>(picker->tiles()->objectAtIndex(index));
    }
    long indexOf(std::string_view identifier)
    {
        for (std::size_t i = 0; i < picker->tiles()->count(); ++i) {
            if (tile(i).composition()->identifier()->string() == identifier)
                return static_cast<long>(i);
        }
        return -1;
    }
    const AutoreleasePool pool;
    const Ref<PickerDelegate> delegate = make<PickerDelegate>();
    const Ref<LTCCompositionPickerView> picker = make<LTCCompositionPickerView>();
};

}

TEST_F(Picker, OffersWhatTheDelegateIncludes)
{
    const auto allButOne = CoreLattice::compiledCompositions().size() - 1;
    EXPECT_EQ(picker->compositions()->count(), allButOne);
    EXPECT_EQ(picker->tiles()->count(), allButOne);
    EXPECT_EQ(indexOf("/sharpen"), -1);
    EXPECT_EQ(tile(static_cast<std::size_t>(indexOf("/QCImageFilterProtocol"))).name()->string(), "Protocol");
    EXPECT_EQ(picker->selectedComposition(), nullptr);
}

TEST_F(Picker, AClickTellsTheDelegateEachTime)
{
    const auto radar = indexOf("/QCImageFilterRadar");
    picker->setValue_forKey(CFNumber::create(radar).get(), "selectedIndex");
    picker->selectTileAtIndex(radar);
    picker->selectTileAtIndex(-1);
    picker->selectTileAtIndex(99);
    EXPECT_THAT(delegate->selections, testing::ElementsAre("/QCImageFilterRadar", "/QCImageFilterRadar", "none"));
    EXPECT_EQ(picker->selectedIndex(), -1);
    picker->setAllowsEmptySelection(false);
    picker->selectTileAtIndex(2);
    picker->selectTileAtIndex(-1);
    EXPECT_EQ(picker->selectedIndex(), 2);
}

TEST_F(Picker, MarksWhatAViewTakesUpWithoutTellingTheDelegate)
{
    const auto view = make<LTCView>();
    view->loadComposition(tile(2).composition()->copy().get());
    EXPECT_EQ(picker->selectedIndex(), 2);
    EXPECT_TRUE(delegate->selections.empty());
}

TEST_F(Picker, RendersItsTilesInTurnAsPicturesCome)
{
    picker->startAnimation(nullptr);
    EXPECT_TRUE(picker->isAnimating());
    const auto image = CIImage::imageWithCVImageBuffer(Pictures::plain(640, 360, { 200, 150, 100 }).get());
    // Each picture brings credit for some tiles, so enough of them show every tile.
    const bool all = DispatchMain::runUntil(
        [&] {
            const AutoreleasePool inner;
            picker->setDefaultValue_forInputKey(image, QCCompositionInputImageKey);
            for (std::size_t i = 0; i < 6; ++i) {
                if (!tile(i).thumbnail())
                    return false;
            }
            return true;
        },
        60);
    EXPECT_TRUE(all);
    EXPECT_EQ(tile(0).thumbnail()->width(), 144U);
    EXPECT_EQ(tile(0).thumbnail()->height(), 81U);
    picker->stopAnimation(nullptr);
    EXPECT_FALSE(picker->isAnimating());
}
