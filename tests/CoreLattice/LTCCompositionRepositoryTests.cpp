#include "CoreLattice/CompiledCompositions.h"
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
    std::vector<std::string> expected { "/QCImageFilterRadar", "/QCImageFilterProtocol" };
    for (const auto& text : CoreLattice::compiledCompositions()) {
        if (!text.name.starts_with("QCImageFilter"))
            expected.push_back("/" + std::string(text.name));
    }
    EXPECT_EQ(identifiers(*all), expected);
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

TEST(LTCCompositionRepository, FindsByAttributes)
{
    const AutoreleasePool pool;
    const auto repository = make<LTCCompositionRepository>();
    const auto named = CFDictionary::create({ { LTCCompositionNameKey, CFSTR("Duotone") } });
    EXPECT_THAT(
        identifiers(*repository->compositionsWithProtocol_andAttributes(QCCompositionProtocolImageFilter, named)),
        testing::ElementsAre("/duotone"));
}

TEST(QCComposition, TellsItsCategoriesAndWhetherItWantsAGPU)
{
    const AutoreleasePool pool;
    const auto* const dear = Pictures::composition(
        R"(/*{ "CATEGORIES": ["Light", "Time"], "KEYWORDS": ["glass", "GPU"] }*/ void main() {})");
    const auto* const categories = dear->attributes()->get<CFArray>(LTCCompositionCategoriesKey);
    ASSERT_EQ(categories->count(), 2U);
    EXPECT_EQ(kindOf<CFString>(categories->objectAtIndex(1))->string(), "Time");
    EXPECT_TRUE(CFEqual(dear->attributes()->objectForKey(LTCCompositionWantsGPUKey), CFBoolean::of(true)));
    const auto* const cheap = Pictures::composition(R"(/*{ "KEYWORDS": "GPUs" }*/ void main() {})");
    EXPECT_EQ(cheap->attributes()->get<CFArray>(LTCCompositionCategoriesKey)->count(), 0U);
    EXPECT_TRUE(CFEqual(cheap->attributes()->objectForKey(LTCCompositionWantsGPUKey), CFBoolean::of(false)));
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
