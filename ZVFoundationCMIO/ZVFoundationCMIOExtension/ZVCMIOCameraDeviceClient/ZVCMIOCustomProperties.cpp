#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOCustomProperties.h"

#include "Platform/CoreFoundation/CFData.h"

NS_IMPLEMENTATION(ZVCMIOCustomProperties, NSObject)
{
    type.classMessage(
        "sampleCustomPropertiesWithPropertySet:", &ZVCMIOCustomProperties::sampleCustomPropertiesWithPropertySet);
}

namespace {

/// FE ED, six times.
Ref<CFData> dustData()
{
    std::vector<std::byte> bytes;
    for (int pair = 0; pair < 6; ++pair)
        bytes.insert(bytes.end(), { std::byte { 0xFE }, std::byte { 0xED } });
    return make<CFData>(std::move(bytes));
}

}

NSMutableDictionary* ZVCMIOCustomProperties::sampleCustomPropertiesWithPropertySet(NSSet* propertySet)
{
    auto properties = make<NSMutableDictionary>();
    const auto add = [&](CMIOExtensionProperty key, const Ref<CFType>& value) {
        if (propertySet && propertySet->containsObject(key))
            properties->set(key, CMIOExtensionPropertyState::propertyStateWithValue(value));
    };
    add(CMIOExtensionPropertyCustomPropertyData_just, Ref<CFType>(CFSTR("Property value for 'just'")));
    add(CMIOExtensionPropertyCustomPropertyData_dust, dustData());
    add(CMIOExtensionPropertyCustomPropertyData_rust,
        CFStringCreateWithFormat(
            CFSTR("Custom property value for property '%@'."), CMIOExtensionPropertyCustomPropertyData_rust));
    return autorelease(std::move(properties));
}
