#include "CoreLattice/CompiledCompositions.h"
#include "CoreLattice/LTCCompositionPickerView.h"

#include "CoreLattice/LTCCompositionRepository.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/CoreImage/CIImage.h"
#include "Platform/dispatch/dispatch.h"
#include "tests/CoreLattice/Pictures.h"

#include <gmock/gmock.h>

#include <cmath>

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
    void compositionPickerViewDidStartAnimating(LTCCompositionPickerView* view) override
    {
        animations.push_back(view->isAnimating() ? "did start, running" : "did start");
    }
    void compositionPickerViewWillStopAnimating(LTCCompositionPickerView* view) override
    {
        animations.push_back(view->isAnimating() ? "will stop, running" : "will stop");
    }
    std::vector<std::string> selections;
    std::vector<std::string> animations;
};

NS_IMPLEMENTATION(PickerDelegate, NSObject)
{
    type.message(
        "compositionPickerView:didSelectComposition:", &PickerDelegate::compositionPickerView_didSelectComposition);
    type.message("compositionPickerView:shouldIncludeComposition:",
        &PickerDelegate::compositionPickerView_shouldIncludeComposition);
    type.message("compositionPickerViewDidStartAnimating:", &PickerDelegate::compositionPickerViewDidStartAnimating);
    type.message("compositionPickerViewWillStopAnimating:", &PickerDelegate::compositionPickerViewWillStopAnimating);
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

TEST_F(Picker, ShowsWhatMatchesASearchAndACategory)
{
    const auto shown = [&] {
        std::vector<std::string> names;
        for (const auto& value : picker->shownTiles()->values())
            names.push_back(kindOf<LTCCompositionPickerTile>(value)->name()->string());
        return names;
    };
    EXPECT_EQ(picker->shownTiles()->count(), picker->tiles()->count());
    picker->setSearchText(CFSTR("  rAd "));
    EXPECT_THAT(shown(), testing::Contains("Radar"));
    EXPECT_THAT(shown(), testing::Not(testing::Contains("Retro")));
    picker->selectShownTileAtIndex(0);
    EXPECT_THAT(delegate->selections, testing::SizeIs(1));
    EXPECT_EQ(picker->selectedIndex(), indexOf(delegate->selections[0]));
    EXPECT_EQ(picker->shownIndex(), 0);

    // What was selected stays it when it is hidden.
    const auto selected = picker->selectedIndex();
    picker->setSearchText(CFSTR("radar nothing-has-this"));
    EXPECT_THAT(shown(), testing::IsEmpty());
    EXPECT_EQ(picker->shownCompositionCount(), 0U);
    EXPECT_EQ(picker->shownIndex(), -1);
    EXPECT_EQ(picker->selectedIndex(), selected);
    picker->selectShownTileAtIndex(0);
    EXPECT_THAT(delegate->selections, testing::SizeIs(1));

    picker->setSearchText(CFSTR(""));
    EXPECT_EQ(picker->shownTiles()->count(), picker->tiles()->count());
    EXPECT_EQ(picker->shownIndex(), selected);
}

TEST_F(Picker, NarrowsDownToACategory)
{
    const auto categories = picker->categories()->values();
    ASSERT_FALSE(categories.empty());
    std::size_t most = 0;
    for (const auto& value : categories) {
        auto* const category = kindOf<CFString>(value);
        picker->setCategory(category);
        const auto count = picker->shownTiles()->count();
        EXPECT_GT(count, 0U) << category->string();
        EXPECT_LT(count, picker->tiles()->count()) << category->string();
        for (const auto& tile : picker->shownTiles()->values()) {
            EXPECT_TRUE(kindOf<LTCCompositionPickerTile>(tile)
                            ->composition()
                            ->attributes()
                            ->get<CFArray>(LTCCompositionCategoriesKey)
                            ->containsObject(category));
        }
        // A category can be searched for as well.
        picker->setCategory(nullptr);
        picker->setSearchText(category);
        EXPECT_GE(picker->shownTiles()->count(), count) << category->string();
        picker->setSearchText(nullptr);
        most = std::max(most, count);
    }
    EXPECT_GT(most, 4U);
    EXPECT_EQ(picker->shownTiles()->count(), picker->tiles()->count());
}

TEST_F(Picker, RendersOnlyWhatIsOnTheScreen)
{
    picker->startAnimation(nullptr);
    const auto range = make<CFArray>();
    range->append(CFNumber::create(1).get());
    range->append(CFNumber::create(2).get());
    picker->setValue_forKey(range, "visibleTiles");
    const auto image = CIImage::imageWithCVImageBuffer(Pictures::plain(640, 360, { 200, 150, 100 }).get());
    int pictures = 0;
    // Many more pictures than it takes to come round.
    const bool done = DispatchMain::runUntil(
        [&] {
            const AutoreleasePool inner;
            picker->setDefaultValue_forInputKey(image, QCCompositionInputImageKey);
            return tile(1).thumbnail() && tile(2).thumbnail() && ++pictures > 200;
        },
        60);
    EXPECT_TRUE(done);
    EXPECT_FALSE(tile(0).thumbnail());
    for (std::size_t i = 3; i < picker->tiles()->count(); ++i)
        EXPECT_FALSE(tile(i).thumbnail()) << i;

    // What comes into sight is rendered from then on.
    range->append(CFNumber::create(9).get());
    picker->setValue_forKey(range, "visibleTiles");
    EXPECT_EQ(picker->visibleTiles()->count(), 2U) << "three numbers are no range";
    const auto all = make<CFArray>();
    all->append(CFNumber::create(0).get());
    all->append(CFNumber::create(4).get());
    picker->setValue_forKey(all, "visibleTiles");
    const bool more = DispatchMain::runUntil(
        [&] {
            const AutoreleasePool inner;
            picker->setDefaultValue_forInputKey(image, QCCompositionInputImageKey);
            return tile(0).thumbnail() && tile(3).thumbnail();
        },
        60);
    EXPECT_TRUE(more);
    picker->stopAnimation(nullptr);
}

TEST_F(Picker, TakesNoShapeAndNoRateThatIsNone)
{
    picker->setCompositionAspectRatio({ 4, 3 });
    for (const CGSize none : { CGSize { 0, 3 }, CGSize { 4, -1 }, CGSize { std::nan(""), 3 },
             CGSize { 4, std::nan("") }, CGSize { HUGE_VAL, HUGE_VAL } }) {
        picker->setCompositionAspectRatio(none);
        EXPECT_EQ(picker->compositionAspectRatio().width, 4);
        EXPECT_EQ(picker->compositionAspectRatio().height, 3);
    }
    picker->setMaxAnimationFrameRate(30);
    for (const float none : { -1.0F, std::nanf(""), HUGE_VALF }) {
        picker->setMaxAnimationFrameRate(none);
        EXPECT_EQ(picker->maxAnimationFrameRate(), 30);
    }
    // So seldom that the pause between two pictures is beyond what is counted in nanoseconds.
    picker->setMaxAnimationFrameRate(1e-20F);
    picker->startAnimation(nullptr);
    const auto image = CIImage::imageWithCVImageBuffer(Pictures::plain(64, 36, { 200, 150, 100 }).get());
    EXPECT_TRUE(DispatchMain::runUntil(
        [&] {
            const AutoreleasePool inner;
            picker->setDefaultValue_forInputKey(image, QCCompositionInputImageKey);
            return tile(0).thumbnail() != nullptr;
        },
        60));
    EXPECT_EQ(tile(0).thumbnail()->width(), 108U);
    picker->stopAnimation(nullptr);
}

TEST_F(Picker, DrawsAGroundWhereItHasOneAndIsToldTo)
{
    EXPECT_FALSE(picker->drawsBackground());
    picker->setBackgroundColor(NSColor::darkGrayColor());
    ASSERT_TRUE(picker->layer());
    EXPECT_FALSE(picker->layer()->backgroundColor());
    picker->setDrawsBackground(true);
    EXPECT_EQ(picker->layer()->backgroundColor(), NSColor::darkGrayColor()->getCGColor());
    picker->setBackgroundColor(NSColor::whiteColor());
    EXPECT_EQ(picker->layer()->backgroundColor(), NSColor::whiteColor()->getCGColor());
    picker->setBackgroundColor(nullptr);
    EXPECT_FALSE(picker->layer()->backgroundColor());
}

TEST_F(Picker, KeepsWhatItIsTold)
{
    EXPECT_EQ(picker->numberOfRows(), 1U);
    picker->setNumberOfRows(3);
    picker->setNumberOfRows(0);
    EXPECT_EQ(picker->numberOfRows(), 3U);
    EXPECT_EQ(picker->maxAnimationFrameRate(), 10);
    EXPECT_EQ(picker->compositionAspectRatio().width / picker->compositionAspectRatio().height, 16.0 / 9);
    EXPECT_EQ(picker->delegate(), delegate);
    picker->setDelegate(nullptr);
    EXPECT_EQ(picker->delegate(), nullptr);
    picker->setCompositionsFromRepositoryWithProtocol_andAttributes(nullptr, nullptr);
    EXPECT_GT(picker->compositions()->count(), 0U) << "no protocol changes nothing";
}

TEST_F(Picker, SelectsForTheProgramWithoutTellingTheDelegate)
{
    picker->setSelectedComposition(tile(3).composition()->copy().get());
    EXPECT_EQ(picker->selectedIndex(), 3);
    EXPECT_EQ(picker->selectedComposition(), tile(3).composition());
    picker->setSelectedComposition(Pictures::composition("/*{}*/ void main() {}"));
    EXPECT_EQ(picker->selectedIndex(), 3) << "it is not offered";
    picker->setAllowsEmptySelection(false);
    picker->setSelectedComposition(nullptr);
    EXPECT_EQ(picker->selectedIndex(), 3);
    picker->setAllowsEmptySelection(true);
    picker->setSelectedComposition(nullptr);
    EXPECT_EQ(picker->selectedIndex(), -1);
    EXPECT_TRUE(delegate->selections.empty());
}

TEST_F(Picker, TellsItsDelegateAroundTheAnimation)
{
    picker->startAnimation(nullptr);
    picker->startAnimation(nullptr);
    EXPECT_THAT(delegate->animations, testing::ElementsAre("did start, running"));
    picker->stopAnimation(nullptr);
    picker->stopAnimation(nullptr);
    EXPECT_THAT(delegate->animations, testing::ElementsAre("did start, running", "will stop, running"));
    EXPECT_FALSE(picker->isAnimating());
    // A delegate without any of the operations is asked for none.
    const auto deaf = make<NSObject>();
    picker->setDelegate(deaf);
    picker->setCompositionsFromRepositoryWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr);
    EXPECT_GE(indexOf("/sharpen"), 0) << "all are offered";
    picker->startAnimation(nullptr);
    picker->selectTileAtIndex(0);
    picker->stopAnimation(nullptr);
    EXPECT_EQ(picker->selectedIndex(), 0);
}

TEST_F(Picker, TakesDefaultValuesBack)
{
    picker->startAnimation(nullptr);
    const auto input = Pictures::plain(64, 36, { 200, 150, 100 });
    EXPECT_TRUE(DispatchMain::runUntil(
        [&] {
            const AutoreleasePool inner;
            picker->setDefaultValue_forInputKey(input, QCCompositionInputImageKey);
            return tile(0).thumbnail() && tile(1).thumbnail();
        },
        30));
    EXPECT_GT(input->retainCount(), 1) << "kept for the tiles";
    picker->resetDefaultInputValues();
    EXPECT_TRUE(DispatchMain::runUntil([&] { return input->retainCount() == 1; }, 10)) << "given back";
    EXPECT_TRUE(tile(0).thumbnail()) << "the tiles stay as they are";
    picker->stopAnimation(nullptr);
}
