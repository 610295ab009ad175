#include "CoreLattice/LTCCompositionRepository.h"
#include "tests/CoreLattice/Pictures.h"

#include <gmock/gmock.h>

namespace {

std::vector<std::string> identifiers(CFArray& compositions)
{
    std::vector<std::string> result;
    for (const auto& value : compositions.values())
        result.push_back(kindOf<QCComposition>(value)->identifier()->string());
    return result;
}

}

TEST(LTCCompositionRepository, OffersTheApplicationsCompositionsFirstAndInTheirOrder)
{
    const AutoreleasePool pool;
    const auto repository = make<LTCCompositionRepository>();
    for (const auto* const name : { "QCImageFilterRadar", "QCImageFilterProtocol", "QCImageFilterRadar" })
        repository->registerApplicationCompositionWithName(CFSTR(name));
    const auto all = repository->compositionsWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr);
    EXPECT_THAT(identifiers(*all),
        testing::ElementsAre("/QCImageFilterRadar", "/QCImageFilterProtocol", "/exposure adjust", "/gamma adjust",
            "/image resizer", "/sharpen"));
    EXPECT_EQ(repository->compositionsWithProtocol_andAttributes(CFSTR("other"), nullptr)->count(), 0U);
}

TEST(LTCCompositionRepository, FindsOnlyWhatWasRegistered)
{
    const AutoreleasePool pool;
    LTCCompositionRepository::sharedCompositionRepository()->registerApplicationCompositionWithName(
        CFSTR("QCImageFilterRetro"));
    auto* const found = LTCCompositionRepository::compositionWithName(CFSTR("QCImageFilterRetro"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->name()->string(), "Retro");
    EXPECT_EQ(LTCCompositionRepository::compositionWithName(CFSTR("QCImageFilterUnknown")), nullptr);
    EXPECT_TRUE(LTCCompositionRepository::compositionWithName(CFSTR("sharpen")));
    EXPECT_EQ(LTCCompositionRepository::compositionWithName(nullptr), nullptr);
}

TEST(LTCCompositionRepository, EveryCompiledCompositionTakesAPictureAndRenders)
{
    const AutoreleasePool pool;
    const auto repository = make<LTCCompositionRepository>();
    for (const auto* const name : { "QCImageFilterProtocol", "QCImageFilterRadar", "QCImageFilterRetro" })
        repository->registerApplicationCompositionWithName(CFSTR(name));
    const auto all = repository->compositionsWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr);
    EXPECT_EQ(all->count(), 7U);
    const auto input = Pictures::picture(320, 180, [](std::size_t x, std::size_t y) {
        return Pictures::Pixel { static_cast<int>(x * 255 / 320), static_cast<int>(y * 255 / 180),
            (x / 40 + y / 30) % 2 ? 220 : 40 };
    });
    for (const auto& value : all->values()) {
        auto* const composition = kindOf<QCComposition>(value);
        SCOPED_TRACE(composition->identifier()->string());
        const auto view = make<LTCView>();
        view->loadComposition(composition);
        view->setValue_forInputKey(input, QCCompositionInputImageKey);
        const auto result = Pictures::render(*view, 1);
        EXPECT_NE(result, input) << "a composition that failed lets its input through";
        bool differs = false;
        for (std::size_t x = 0; x < 320; ++x)
            differs = differs || Pictures::pixelAt(*result, x, 90) != Pictures::pixelAt(*input, x, 90);
        EXPECT_TRUE(differs);
        EXPECT_GE(composition->attributes()->count(), 4U);
    }
}

TEST(QCComposition, ACopyIsAnotherObjectForTheSameComposition)
{
    const AutoreleasePool pool;
    const auto original = Pictures::composition(
        R"(/*{ "LABEL": "Name", "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "mode", "TYPE": "long", "VALUES": [1], "LABELS": ["One"] }, { "NAME": "s", "TYPE": "audio" } ] }*/ void main() {})");
    const auto copy = original->copy();
    EXPECT_NE(copy, original);
    EXPECT_TRUE(CFEqual(copy, original));
    EXPECT_EQ(copy->inputKeys()->count(), 2U) << "a sound is no port";
    auto* const port = copy->attributes()->get<CFDictionary>(CFSTR("mode"));
    ASSERT_TRUE(port);
    EXPECT_EQ(port->get<CFString>(LTCPortTypeKey), LTCPortTypeMenu);
    EXPECT_TRUE(copy->attributes()->objectForKey(QCCompositionInputImageKey));
    EXPECT_TRUE(copy->conformsToProtocol(QCCompositionProtocolImageFilter));
    EXPECT_FALSE(Pictures::composition("/*{}*/ void main() {}")->conformsToProtocol(QCCompositionProtocolImageFilter));
}
