#include "CoreLattice/LTCCompositionParameter.h"

#include "CoreLattice/LTCCompositionParameterView.h"
#include "CoreLattice/QCComposition.h"

#include <algorithm>

NS_IMPLEMENTATION(LTCCompositionParameter, NSObject)
{
    type.message("reset", &LTCCompositionParameter::reset);
    type.key("key", &LTCCompositionParameter::key);
    type.key("label", &LTCCompositionParameter::label);
    type.key("type", &LTCCompositionParameter::type);
    type.key("minimum", &LTCCompositionParameter::minimum);
    type.key("maximum", &LTCCompositionParameter::maximum);
    type.key("minimumUpwards", &LTCCompositionParameter::minimumUpwards);
    type.key("maximumUpwards", &LTCCompositionParameter::maximumUpwards);
    type.key("defaultValue", &LTCCompositionParameter::defaultValue);
    type.key("labels", &LTCCompositionParameter::labels);
    type.key("value", &LTCCompositionParameter::value, &LTCCompositionParameter::setValue);
    type.key("selectedIndex", &LTCCompositionParameter::selectedIndex, &LTCCompositionParameter::setSelectedIndex);
    type.key("selectedLabel", &LTCCompositionParameter::selectedLabel, &LTCCompositionParameter::setSelectedLabel);
    type.dependentKey("selectedIndex", { "value" });
    type.dependentKey("selectedLabel", { "value" });
}

LTCCompositionParameter::LTCCompositionParameter(
    LTCCompositionParameterView* view, CFString* key, CFDictionary* attributes, CFType* value)
    : mView(view)
    , mKey(key)
    , mAttributes(attributes)
    , mValue(value)
{
}

CFString* LTCCompositionParameter::label() const
{
    return mAttributes->get<CFString>(LTCPortLabelKey);
}

CFString* LTCCompositionParameter::type() const
{
    return mAttributes->get<CFString>(LTCPortTypeKey);
}

double LTCCompositionParameter::minimum() const
{
    return bound(LTCPortMinimumKey, 0, 0);
}

double LTCCompositionParameter::maximum() const
{
    return bound(LTCPortMaximumKey, 0, 1);
}

double LTCCompositionParameter::minimumUpwards() const
{
    return bound(LTCPortMinimumKey, 1, 0);
}

double LTCCompositionParameter::maximumUpwards() const
{
    return bound(LTCPortMaximumKey, 1, 1);
}

double LTCCompositionParameter::bound(CFString* key, std::size_t axis, double otherwise) const
{
    auto* value = mAttributes->objectForKey(key);
    if (const auto* const array = kindOf<CFArray>(value))
        value = axis < array->count() ? array->objectAtIndex(axis) : nullptr;
    const auto* const number = kindOf<CFNumber>(value);
    return number ? number->doubleValue() : otherwise;
}

Ref<CFType> LTCCompositionParameter::defaultValue() const
{
    return mAttributes->objectForKey(LTCPortDefaultKey);
}

CFArray* LTCCompositionParameter::labels() const
{
    return mAttributes->get<CFArray>(LTCPortLabelsKey);
}

void LTCCompositionParameter::setValue(CFType* value)
{
    Ref<CFType> held(value);
    const auto* const number = kindOf<CFNumber>(value);
    if (number && CFEqual(type(), LTCPortTypeNumber))
        held = CFNumber::create(std::clamp(number->doubleValue(), minimum(), std::max(minimum(), maximum())));
    {
        const NSKeyValueChange change(this, "value");
        mValue = std::move(held);
    }
    if (const auto view = mView.strongReference())
        view->applyParameter(this);
}

long LTCCompositionParameter::selectedIndex() const
{
    const auto* const values = mAttributes->get<CFArray>(LTCPortValuesKey);
    const auto* const present = kindOf<CFNumber>(mValue);
    if (!values || !present)
        return -1;
    const auto all = values->values();
    const auto found = std::ranges::find_if(all, [&](const Ref<CFType>& value) {
        const auto* const number = kindOf<CFNumber>(value);
        return number && number->doubleValue() == present->doubleValue();
    });
    return found == all.end() ? -1 : static_cast<long>(found - all.begin());
}

void LTCCompositionParameter::setSelectedIndex(long index)
{
    auto* const values = mAttributes->get<CFArray>(LTCPortValuesKey);
    if (values && index >= 0 && index < static_cast<long>(values->count()))
        setValue(values->objectAtIndex(static_cast<std::size_t>(index)));
}

CFString* LTCCompositionParameter::selectedLabel() const
{
    const auto index = selectedIndex();
    return index < 0 || !labels() ? nullptr
                                  : kindOf<CFString>(labels()->objectAtIndex(static_cast<std::size_t>(index)));
}

void LTCCompositionParameter::setSelectedLabel(CFString* label)
{
    const auto all = labels() ? labels()->values() : std::vector<Ref<CFType>>();
    const auto found
        = std::ranges::find_if(all, [&](const Ref<CFType>& text) { return label && CFEqual(text, label); });
    if (found != all.end())
        setSelectedIndex(static_cast<long>(found - all.begin()));
}

void LTCCompositionParameter::reset()
{
    setValue(defaultValue().get());
}

bool LTCCompositionParameter::shows(const LTCCompositionParameter& other) const
{
    return CFEqual(mKey, other.mKey) && CFEqual(mAttributes, other.mAttributes) && CFEqual(mValue, other.mValue);
}
