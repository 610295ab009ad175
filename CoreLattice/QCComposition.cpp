#include "CoreLattice/QCComposition.h"

#include "CoreLattice/ISFDocument.h"

using CoreLattice::ISFDocument;
using CoreLattice::ISFInput;
using CoreLattice::ISFInputType;

namespace {

CFString* portType(ISFInputType type)
{
    switch (type) {
    case ISFInputType::Number:
        return LTCPortTypeNumber;
    case ISFInputType::Boolean:
        return LTCPortTypeBoolean;
    case ISFInputType::Menu:
        return LTCPortTypeMenu;
    case ISFInputType::Color:
        return LTCPortTypeColor;
    case ISFInputType::Point:
        return LTCPortTypePoint;
    case ISFInputType::Event:
        return LTCPortTypeEvent;
    case ISFInputType::Image:
        return LTCPortTypeImage;
    }
    return LTCPortTypeNumber;
}

Ref<CFType> portValue(ISFInputType type, const ISFInput::Numbers& numbers)
{
    const std::size_t count = type == ISFInputType::Color ? 4 : type == ISFInputType::Point ? 2 : 0;
    if (count == 0)
        return type == ISFInputType::Boolean ? Ref<CFType>(CFBoolean::of(numbers[0] != 0))
                                             : Ref<CFType>(CFNumber::create(numbers[0]));
    auto array = make<CFArray>();
    for (std::size_t i = 0; i < count; ++i)
        array->append(CFNumber::create(numbers[i]).get());
    return array;
}

Ref<CFDictionary> portAttributes(const ISFInput& input)
{
    auto result = make<CFDictionary>();
    result->set(LTCPortTypeKey, portType(input.type));
    result->set(LTCPortLabelKey, CFString::create(input.label).get());
    if (input.type == ISFInputType::Number && !input.unit.empty())
        result->set(LTCPortUnitKey, CFString::create(input.unit).get());
    const auto setNumbers = [&](CFString* key, const std::optional<ISFInput::Numbers>& numbers) {
        if (numbers)
            result->set(key, portValue(input.type, *numbers).get());
    };
    if (input.type != ISFInputType::Image && input.type != ISFInputType::Event) {
        setNumbers(LTCPortDefaultKey, input.defaultValue.value_or(ISFInput::Numbers { 0, 0, 0, 1 }));
        setNumbers(LTCPortMinimumKey, input.minimum);
        setNumbers(LTCPortMaximumKey, input.maximum);
    }
    if (input.type == ISFInputType::Menu) {
        auto values = make<CFArray>();
        auto labels = make<CFArray>();
        for (const auto value : input.values)
            values->append(CFNumber::create(value).get());
        for (const auto& label : input.labels)
            labels->append(CFString::create(label).get());
        result->set(LTCPortValuesKey, values.get());
        result->set(LTCPortLabelsKey, labels.get());
    }
    return result;
}

/// Inputs that nobody can set from outside are no ports.
bool isPort(const ISFInput& input)
{
    return !input.isSilent;
}

Ref<CFDictionary> attributesOf(const ISFDocument& document)
{
    auto result = make<CFDictionary>();
    result->set(LTCCompositionNameKey, CFString::create(document.name).get());
    result->set(LTCCompositionDescriptionKey, CFString::create(document.explanation).get());
    auto categories = make<CFArray>();
    for (const auto& category : document.categories)
        categories->append(CFString::create(category).get());
    result->set(LTCCompositionCategoriesKey, categories.get());
    result->set(LTCCompositionWantsGPUKey, CFBoolean::of(document.wantsGPU));
    for (const auto& input : document.inputs) {
        if (isPort(input))
            result->set(input.name, portAttributes(input).get());
    }
    auto output = make<CFDictionary>();
    output->set(LTCPortTypeKey, LTCPortTypeImage);
    result->set(QCCompositionOutputImageKey, output.get());
    return result;
}

Ref<CFArray> inputKeysOf(const ISFDocument& document)
{
    auto result = make<CFArray>();
    for (const auto& input : document.inputs) {
        if (isPort(input))
            result->append(CFString::create(input.name).get());
    }
    return result;
}

}

NS_IMPLEMENTATION(QCComposition, NSObject)
{
    type.message("identifier", &QCComposition::identifier);
    type.message("copy", &QCComposition::copy);
    type.key("identifier", &QCComposition::identifier);
    type.key("name", &QCComposition::name);
    type.key("attributes", &QCComposition::attributes);
    type.key("inputKeys", &QCComposition::inputKeys);
}

QCComposition::QCComposition(Ref<CFString> identifier, std::shared_ptr<const ISFDocument> document)
    : mIdentifier(std::move(identifier))
    , mDocument(std::move(document))
    , mAttributes(attributesOf(*mDocument))
    , mInputKeys(inputKeysOf(*mDocument))
{
}

QCComposition::~QCComposition() = default;

CFString* QCComposition::name() const
{
    return mAttributes->get<CFString>(LTCCompositionNameKey);
}

bool QCComposition::conformsToProtocol(CFString* protocol) const
{
    if (!CFEqual(protocol, QCCompositionProtocolImageFilter))
        return false;
    const auto* const image = mDocument->input(textOf(QCCompositionInputImageKey));
    return image && image->type == ISFInputType::Image && !image->isSilent;
}

Ref<QCComposition> QCComposition::copy() const
{
    return make<QCComposition>(mIdentifier, mDocument);
}

bool QCComposition::isEqual(CFType* other)
{
    const auto* const composition = kindOf<QCComposition>(other);
    return composition && composition->mDocument == mDocument && CFEqual(composition->mIdentifier, mIdentifier);
}

CFHashCode QCComposition::hash()
{
    return mIdentifier->hash();
}

std::string QCComposition::description()
{
    return "<QCComposition " + mIdentifier->string() + ">";
}
