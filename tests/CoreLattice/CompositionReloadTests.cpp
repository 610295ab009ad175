#include "CoreLattice/LTCCompositionParameterView.h"
#include "CoreLattice/LTCCompositionPickerView.h"
#include "tests/CoreLattice/CompositionFolder.h"
#include "tests/CoreLattice/Pictures.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>

using namespace Pictures;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

#define IMAGE R"({ "NAME": "inputImage", "TYPE": "image" })"

/// What people edit: two of its parameters, and what it makes of them.
std::string edited(const std::string& inputs, const std::string& body)
{
    return R"(/*{ "INPUTS": [ )" IMAGE + inputs + " ] }*/\nvoid main() { " + body + " }\n";
}
const std::string amount = R"(, { "NAME": "amount", "TYPE": "float", "MIN": 0, "MAX": 1, "DEFAULT": 0 })";
const std::string tint = R"(, { "NAME": "tint", "TYPE": "color", "DEFAULT": [0, 0, 0, 1] })";

class CompositionReload : public CompositionFolder {
protected:
    void run(const std::string& inputs, const std::string& body)
    {
        write(user() / "Edited.fs", edited(inputs, body));
        follow();
        view->setValue_forInputKey(plain(16, 16, { 10, 20, 30 }).get(), QCCompositionInputImageKey);
        view->loadComposition(composition("/Edited")->copy().get());
        parameters->setCompositionRenderer(view);
        ASSERT_TRUE(render(*view));
    }
    /// Saves the file and waits until the view has taken it up.
    void edit(const std::string& inputs, const std::string& body)
    {
        const Ref<QCComposition> before = view->loadedComposition();
        write(user() / "Edited.fs", edited(inputs, body));
        EXPECT_TRUE(runUntil([&] { return !CFEqual(view->loadedComposition(), before); }));
    }
    void set(const char* key, double value) { view->setValue_forInputKey(CFNumber::create(value).get(), CFSTR(key)); }
    double number(const char* key)
    {
        const auto value = view->valueForInputKey(CFSTR(key));
        const auto* const present = kindOf<CFNumber>(value);
        return present ? present->doubleValue() : -1;
    }
    std::vector<std::string> tiles()
    {
        std::vector<std::string> result;
        for (const auto& value : picker->tiles()->values()) {
            auto* const tile = kindOf<LTCCompositionPickerTile>(value);
            result.push_back(tile->name()->string() + (tile->isUsable() ? "" : " -"));
        }
        return result;
    }
    void showTiles()
    {
        picker->setRepository(mRepository);
        picker->setCompositionsFromRepositoryWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr);
    }
    /// The tiles that do not come with the program.
    std::vector<std::string> ownTiles()
    {
        auto all = tiles();
        const auto compiled = make<LTCCompositionRepository>()
                                  ->compositionsWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr)
                                  ->count();
        all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(compiled));
        return all;
    }

    const Ref<LTCView> view = make<LTCView>();
    const Ref<LTCCompositionParameterView> parameters = make<LTCCompositionParameterView>();
    const Ref<LTCCompositionPickerView> picker = make<LTCCompositionPickerView>();
};

}

TEST_F(CompositionReload, PicturesStayButForTheOneToWorkOn)
{
    const std::string background = R"(, { "NAME": "background", "TYPE": "image" })";
    run(background, "gl_FragColor = IMG_THIS_PIXEL(inputImage);");
    const auto chosen = plain(16, 16, { 200, 100, 50 });
    view->setValue_forInputKey(chosen, CFSTR("background"));
    ASSERT_TRUE(render(*view));
    edit(background + amount, "gl_FragColor = IMG_THIS_PIXEL(background);");
    EXPECT_EQ(view->valueForInputKey(CFSTR("background")), chosen);
    EXPECT_EQ(pixelAt(*render(*view), 3, 3), (Pixel { 200, 100, 50 }));
    edit(background + tint, "gl_FragColor = IMG_THIS_PIXEL(inputImage);");
    EXPECT_EQ(pixelAt(*render(*view), 3, 3), (Pixel { 10, 20, 30 }));
}

TEST_F(CompositionReload, ParametersThatStayKeepTheirValues)
{
    run(amount + tint, "gl_FragColor = vec4(amount, tint.gb, 1.0);");
    // Behind the picture to work on, since no delegate leaves that out.
    kindOf<LTCCompositionParameter>(parameters->parameters()->objectAtIndex(1))->setValue(CFNumber::create(1).get());
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 255, 0, 0 }));
    const Ref<CFArray> shown = parameters->parameters();
    edit(amount + tint, "gl_FragColor = vec4(0.0, amount, 0.0, 1.0);");
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 0, 255, 0 }));
    EXPECT_EQ(parameters->parameters(), shown) << "the controls stay under the user's hands";

    edit(tint + R"(, { "NAME": "amount", "TYPE": "float", "MIN": 0, "MAX": 2, "DEFAULT": 0.5 })",
        "gl_FragColor = vec4(0.0, 0.0, amount, 1.0);");
    EXPECT_EQ(number("amount"), 1);
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 0, 0, 255 }));
    EXPECT_EQ(parameters->parameters()->count(), 3U);
    auto* const first = kindOf<LTCCompositionParameter>(parameters->parameters()->objectAtIndex(1));
    EXPECT_EQ(first->key()->string(), "tint");

    edit(R"(, { "NAME": "amount", "TYPE": "float", "MIN": 0, "MAX": 0.5, "DEFAULT": 0.25 })",
        "gl_FragColor = vec4(amount);");
    EXPECT_EQ(number("amount"), 0.25) << "out of its bounds";
    set("amount", 0.5);
    edit(R"(, { "NAME": "amount", "TYPE": "bool", "DEFAULT": false })", "gl_FragColor = vec4(amount ? 1.0 : 0.0);");
    EXPECT_EQ(number("amount"), 0) << "another type";
}

TEST_F(CompositionReload, ABrokenEditLeavesTheRunningOne)
{
    run(amount, "gl_FragColor = vec4(amount, 0.0, 0.0, 1.0);");
    set("amount", 1);
    showTiles();
    StandardErrorCapture log;
    const Ref<QCComposition> before = view->loadedComposition();
    write(user() / "Edited.fs", edited(amount, "gl_FragColor = vec4(amoun);"));
    EXPECT_TRUE(runUntil([&] { return !faults().empty(); }));
    EXPECT_TRUE(CFEqual(view->loadedComposition(), before));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 255, 0, 0 }));
    EXPECT_THAT(ownTiles(), ElementsAre("Edited", "Edited -"));
    edit(amount, "gl_FragColor = vec4(0.0, amount, 0.0, 1.0);");
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 0, 255, 0 }));
    EXPECT_THAT(ownTiles(), ElementsAre("Edited"));
}

TEST_F(CompositionReload, AnEditThatTheViewGivesUpIsNotTakenUpAgain)
{
    // A trial that lets everything pass, as on a machine without a driver for it.
    write(user() / "Edited.fs", edited("", "gl_FragColor = vec4(1.0, 0.0, 0.0, 1.0);"));
    follow(settings(script("printf 'composition-trial\\tgood'")));
    view->setValue_forInputKey(plain(16, 16, { 10, 20, 30 }).get(), QCCompositionInputImageKey);
    view->loadComposition(composition("/Edited").get());
    ASSERT_TRUE(render(*view));
    StandardErrorCapture log;
    edit("", "gl_FragColor = vec4(missing);");
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 255, 0, 0 })) << "the former one is back";
    DispatchMain::drain();
    write(user() / "Another.fs", edited("", "gl_FragColor = vec4(1.0);"));
    EXPECT_TRUE(runUntil([&] { return composition("/Another") != nullptr; }));
    DispatchMain::drain();
    EXPECT_FALSE(CFEqual(view->loadedComposition(), composition("/Edited").get()));
    edit("", "gl_FragColor = vec4(0.0, 1.0, 0.0, 1.0);");
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 0, 255, 0 }));
}

TEST_F(CompositionReload, ThePickerFollowsItsRepository)
{
    write(user() / "B.fs", edited("", "gl_FragColor = vec4(1.0);"));
    write(user() / "Bad.fs", "text");
    StandardErrorCapture log;
    follow();
    showTiles();
    EXPECT_THAT(ownTiles(), ElementsAre("B", "Bad -"));
    picker->setSelectedComposition(composition("/B").get());
    const auto selected = picker->selectedIndex();
    ASSERT_GE(selected, 0);
    const Ref<CFType> tile = picker->tiles()->objectAtIndex(static_cast<std::size_t>(selected));

    write(user() / "A.fs", edited("", "gl_FragColor = vec4(1.0);"));
    EXPECT_TRUE(runUntil([&] { return ownTiles().size() == 3; }));
    EXPECT_THAT(ownTiles(), ElementsAre("A", "B", "Bad -"));
    EXPECT_EQ(picker->selectedIndex(), selected + 1);
    EXPECT_EQ(picker->tiles()->objectAtIndex(static_cast<std::size_t>(selected) + 1), tile.get());

    write(user() / "B.fs", edited("", "gl_FragColor = vec4(0.5);"));
    EXPECT_TRUE(runUntil([&] { return CFEqual(picker->selectedComposition(), composition("/B").get()); }));
    EXPECT_EQ(picker->selectedIndex(), selected + 1);

    fs::remove(user() / "B.fs");
    EXPECT_TRUE(runUntil([&] { return ownTiles().size() == 2; }));
    EXPECT_EQ(picker->selectedIndex(), -1);
    fs::remove(user() / "Bad.fs");
    EXPECT_TRUE(runUntil([&] { return ownTiles().size() == 1; }));
}

namespace {

/// Asks the picker for all that it shows whenever one of its keys changes, as a component does.
class PickerReader : public NSObject {
    NS_OBJECT(PickerReader)
public:
    void observeValueForKeyPath_ofObject_change_context(
        CFString* keyPath, NSObject* object, CFDictionary*, const void*) override
    {
        auto* const picker = kindOf<LTCCompositionPickerView>(object);
        const auto tiles = picker->tiles()->count();
        const auto shown = picker->shownTiles()->count();
        auto* const composition = picker->selectedComposition();
        EXPECT_LT(picker->selectedIndex(), static_cast<long>(tiles)) << keyPath->string();
        EXPECT_LT(picker->shownIndex(), static_cast<long>(shown)) << keyPath->string();
        EXPECT_EQ(composition != nullptr, picker->selectedIndex() >= 0) << keyPath->string();
        selections.push_back(composition ? composition->identifier()->string() : "none");
    }
    std::vector<std::string> selections;
};

NS_IMPLEMENTATION(PickerReader, NSObject) { }

}

TEST_F(CompositionReload, NoMomentOfAnUpdateShowsASelectionThatIsNotThere)
{
    for (const auto* const name : { "A.fs", "B.fs", "Z.fs" })
        write(user() / name, edited("", "gl_FragColor = vec4(1.0);"));
    follow();
    showTiles();
    picker->setSelectedComposition(composition("/Z").get());
    ASSERT_EQ(picker->selectedIndex(), static_cast<long>(picker->tiles()->count()) - 1);
    const auto reader = make<PickerReader>();
    for (const auto* const key : { "compositions", "shownTiles", "shownIndex", "selectedIndex", "categories" })
        picker->addObserver_forKeyPath_options_context(reader, key, 0, nullptr);
    // What is before it goes: it moves, and is the selected one all the time.
    fs::remove(user() / "A.fs");
    EXPECT_TRUE(runUntil([&] { return ownTiles().size() == 2; }));
    EXPECT_FALSE(reader->selections.empty());
    EXPECT_THAT(reader->selections, testing::Each("/Z"));
    // It goes itself.
    reader->selections.clear();
    fs::remove(user() / "Z.fs");
    EXPECT_TRUE(runUntil([&] { return ownTiles().size() == 1; }));
    EXPECT_THAT(reader->selections, testing::Each("none"));
    // Another list altogether.
    picker->setSelectedComposition(composition("/B").get());
    reader->selections.clear();
    picker->setCompositionsFromRepositoryWithProtocol_andAttributes(CFSTR("no protocol"), nullptr);
    EXPECT_EQ(picker->tiles()->count(), 0U);
    EXPECT_THAT(reader->selections, testing::Each("none"));
    for (const auto* const key : { "compositions", "shownTiles", "shownIndex", "selectedIndex", "categories" })
        picker->removeObserver_forKeyPath(reader, key);
}

TEST_F(CompositionReload, TilesCountTheirTimeFromTheirOwnBeginning)
{
    // However long the machine has been on: a shader's numbers are too short for that.
    write(user() / "Clock.fs", edited("", "gl_FragColor = vec4(TIME / 100.0, step(100.0, TIME), 1.0, 1.0);"));
    follow();
    showTiles();
    const auto compositions = picker->compositions()->values();
    auto* const tile = kindOf<LTCCompositionPickerTile>(picker->tiles()->objectAtIndex(compositions.size() - 1));
    ASSERT_EQ(tile->composition()->identifier()->string(), "/Clock");
    picker->setSearchText(CFSTR("Clock"));
    picker->startAnimation(nullptr);
    const auto input = plain(16, 16, { 10, 20, 30 });
    ASSERT_TRUE(runUntil([&] {
        picker->setDefaultValue_forInputKey(input, QCCompositionInputImageKey);
        return tile->thumbnail() != nullptr;
    }));
    picker->stopAnimation(nullptr);
    const auto [red, green, blue] = pixelAt(*tile->thumbnail(), 0, 0);
    EXPECT_EQ(blue, 255);
    EXPECT_EQ(green, 0) << "less than 100 seconds";
}

TEST_F(CompositionReload, ACompositionThatIsRemovedRunsOn)
{
    run(amount, "gl_FragColor = vec4(amount, 0.0, 0.0, 1.0);");
    set("amount", 1);
    showTiles();
    picker->setSelectedComposition(composition("/Edited").get());
    fs::remove(user() / "Edited.fs");
    EXPECT_TRUE(runUntil([&] { return !composition("/Edited"); }));
    EXPECT_EQ(picker->selectedIndex(), -1);
    EXPECT_EQ(picker->selectedComposition(), nullptr);
    EXPECT_EQ(view->loadedComposition()->identifier()->string(), "/Edited");
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 255, 0, 0 }));
    // And is taken up again when its file is back, with what the user set.
    write(user() / "Edited.fs", edited(amount, "gl_FragColor = vec4(0.0, amount, 0.0, 1.0);"));
    EXPECT_TRUE(runUntil([&] { return composition("/Edited") != nullptr; }));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 0, 255, 0 }));
}

TEST_F(CompositionReload, AFileThatCannotBeUsedCannotBeSelected)
{
    write(user() / "Bad.fs", "\n\ntext");
    StandardErrorCapture log;
    follow();
    showTiles();
    const auto last = static_cast<long>(picker->tiles()->count()) - 1;
    auto* const tile = kindOf<LTCCompositionPickerTile>(picker->tiles()->objectAtIndex(static_cast<std::size_t>(last)));
    EXPECT_FALSE(tile->isUsable());
    EXPECT_EQ(tile->explanation()->string(), "Bad.fs:1: the file does not begin with a header in a comment");
    picker->selectTileAtIndex(last);
    EXPECT_EQ(picker->selectedIndex(), -1);
    EXPECT_EQ(picker->compositions()->count(), static_cast<std::size_t>(last));
}
