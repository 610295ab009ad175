#include "CoreLattice/LTCCompositionParameter.h"

#include "CoreLattice/LTCCompositionParameterView.h"
#include "CoreLattice/QCComposition.h"

#include <algorithm>

NS_IMPLEMENTATION(LTCCompositionParameter, NSObject)
{
    type.message("reset", &LTCCompositionParameter::reset);
    type.key("key", &LTCCompositionParameter::key);
    type.key("label", &LTCCompositionParameter::label);
    type.key("unit", &LTCCompositionParameter::unit);
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

CFString* LTCCompositionParameter::unit() const
{
    auto* const unit = mAttributes->get<CFString>(LTCPortUnitKey);
    return unit ? unit : CFSTR("");
}

CFString* LTCCompositionParameter::type() const
{
    return mAttributes->get<CFString>(LTCPortTypeKey);
}

double LTCCompositionParameter::minimum() const
{
    return lower(0);
}

double LTCCompositionParameter::maximum() const
{
    return upper(0);
}

double LTCCompositionParameter::minimumUpwards() const
{
    return lower(1);
}

double LTCCompositionParameter::maximumUpwards() const
{
    return upper(1);
}

/// Where the composition gives no bound, the default and the other bound are within the usual ones.
double LTCCompositionParameter::lower(std::size_t axis) const
{
    if (const auto given = number(LTCPortMinimumKey, axis))
        return *given;
    const auto most = number(LTCPortMaximumKey, axis);
    const auto usual = number(LTCPortDefaultKey, axis).value_or(0);
    return std::min(std::min(0.0, usual), most && *most <= 0 ? *most - 1 : 0);
}

double LTCCompositionParameter::upper(std::size_t axis) const
{
    if (const auto given = number(LTCPortMaximumKey, axis))
        return *given;
    const auto least = number(LTCPortMinimumKey, axis);
    const auto usual = number(LTCPortDefaultKey, axis).value_or(0);
    return std::max(std::max(1.0, usual), least && *least >= 1 ? *least + 1 : 1);
}

std::optional<double> LTCCompositionParameter::number(CFString* key, std::size_t axis) const
{
    auto* value = mAttributes->objectForKey(key);
    if (const auto* const array = kindOf<CFArray>(value))
        value = axis < array->count() ? array->objectAtIndex(axis) : nullptr;
    const auto* const found = kindOf<CFNumber>(value);
    return found ? std::optional(found->doubleValue()) : std::nullopt;
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
    apply(std::move(held));
}

void LTCCompositionParameter::apply(Ref<CFType> value)
{
    {
        const NSKeyValueChange change(this, "value");
        mValue = std::move(value);
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
    // As it is: the file may begin outside of its own bounds.
    apply(defaultValue());
}

bool LTCCompositionParameter::shows(const LTCCompositionParameter& other) const
{
    return CFEqual(mKey, other.mKey) && CFEqual(mAttributes, other.mAttributes) && CFEqual(mValue, other.mValue);
}
