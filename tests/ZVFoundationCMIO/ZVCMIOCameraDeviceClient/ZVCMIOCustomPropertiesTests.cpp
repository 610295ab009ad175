#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOCustomProperties.h"

#include "Platform/CoreFoundation/CFData.h"

#include <gtest/gtest.h>

namespace {

/// Key and value of each entry, as they lie in the dictionary.
std::vector<std::pair<std::string, Ref<CFType>>> sample(NSSet* keys)
{
    std::vector<std::pair<std::string, Ref<CFType>>> entries;
    for (const auto& [key, state] : ZVCMIOCustomProperties::sampleCustomPropertiesWithPropertySet(keys)->entries()) {
        auto* const propertyState = kindOf<CMIOExtensionPropertyState>(state);
        entries.emplace_back(key->description(), propertyState ? propertyState->value() : nullptr);
    }
    return entries;
}

}

TEST(ZVCMIOCustomProperties, ThreeKeysHaveSampleValuesInTheirOrder)
{
    const AutoreleasePool pool;
    const auto all = make<NSSet>(std::initializer_list<std::string_view> {
        "4cc_rust_glob_0000", "4cc_test_glob_0000", "4cc_dust_glob_0000", "another", "4cc_just_glob_0000" });
    const auto entries = sample(all);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].first, "4cc_just_glob_0000");
    EXPECT_TRUE(CFEqual(entries[0].second, CFSTR("Property value for 'just'")));
    EXPECT_EQ(entries[1].first, "4cc_dust_glob_0000");
    const auto* const dust = kindOf<CFData>(entries[1].second);
    ASSERT_NE(dust, nullptr);
    ASSERT_EQ(dust->bytes().size(), 12U);
    for (std::size_t index = 0; index < 12; ++index)
        EXPECT_EQ(dust->bytes()[index], std::byte { static_cast<unsigned char>(index % 2 ? 0xED : 0xFE) }) << index;
    EXPECT_EQ(entries[2].first, "4cc_rust_glob_0000");
    EXPECT_TRUE(CFEqual(entries[2].second, CFSTR("Custom property value for property '4cc_rust_glob_0000'.")));
}

TEST(ZVCMIOCustomProperties, OnlyTheKeysAskedForAreThere)
{
    const AutoreleasePool pool;
    const auto only = make<NSSet>(std::initializer_list<CFType*> { CMIOExtensionPropertyCustomPropertyData_dust });
    const auto entries = sample(only);
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].first, "4cc_dust_glob_0000");
    const auto test = make<NSSet>(std::initializer_list<CFType*> { CMIOExtensionPropertyCustomPropertyData_test });
    EXPECT_TRUE(sample(test).empty()) << "declared, never given a value";
    const auto none = make<NSSet>();
    EXPECT_TRUE(sample(none).empty());
}

TEST(ZVCMIOCustomProperties, EachResultIsTheCallersToChange)
{
    const AutoreleasePool pool;
    const auto none = make<NSSet>();
    auto* const first = ZVCMIOCustomProperties::sampleCustomPropertiesWithPropertySet(none);
    first->set("mine", CFSTR("value"));
    EXPECT_EQ(ZVCMIOCustomProperties::sampleCustomPropertiesWithPropertySet(none)->count(), 0U);
}
