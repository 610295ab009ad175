#pragma once

#include "Platform/Foundation/NSObject.h"

#include <optional>

class LTCCompositionParameterView;

/// One parameter of a composition, as a parameter view shows it. Main thread only.
///
/// Keys: `key`, `label`, `unit`, `type`, `minimum`, `maximum`, for points `minimumUpwards` and `maximumUpwards`,
/// `defaultValue`, `labels` and, to be written and observed, `value` and, for menus, `selectedIndex` and
/// `selectedLabel`. Types and forms of the values are those of a composition's ports.
class LTCCompositionParameter : public NSObject {
    NS_OBJECT(LTCCompositionParameter)
public:
    /// \param attributes  of the port
    LTCCompositionParameter(LTCCompositionParameterView* view, CFString* key, CFDictionary* attributes, CFType* value);

    CFString* key() const { return mKey; }
    CFString* label() const;
    /// What a number counts, such as "s"; empty for nothing.
    CFString* unit() const;
    CFString* type() const;
    /// Where the composition gives no bound 0, or less as far as the default or the maximum ask for it; for a point the
    /// bound across.
    double minimum() const;
    /// Where the composition gives no bound 1, or more as far as the default or the minimum ask for it; for a point the
    /// bound across.
    double maximum() const;
    /// For a point the other bound, in the same way; for other types the same.
    double minimumUpwards() const;
    double maximumUpwards() const;
    /// Null for an event.
    Ref<CFType> defaultValue() const;
    /// The texts of a menu's choices; null for other types.
    CFArray* labels() const;

    /// For a menu the chosen entry's value.
    Ref<CFType> value() const { return mValue; }
    /// Stores the value, a number held within its bounds, and applies it through the view.
    void setValue(CFType* value);
    /// For a menu the position of the chosen entry, -1 when none has the value.
    long selectedIndex() const;
    void setSelectedIndex(long index);
    /// The text of the chosen entry; null when none has the value, and for other types.
    CFString* selectedLabel() const;
    /// Chooses the first entry with this text.
    void setSelectedLabel(CFString* label);
    /// Back to the default.
    void reset();
    /// Whether the other one is for the same port and has the same value.
    bool shows(const LTCCompositionParameter& other) const;

protected:
    /// Null when it has gone.
    Ref<LTCCompositionParameterView> view() const { return mView.strongReference(); }
    /// Stores the value as it is and gives it to the view.
    virtual void apply(Ref<CFType> value);

private:
    double lower(std::size_t axis) const;
    double upper(std::size_t axis) const;
    std::optional<double> number(CFString* key, std::size_t axis) const;

    const WeakRef<LTCCompositionParameterView> mView;
    const Ref<CFString> mKey;
    const Ref<CFDictionary> mAttributes;
    Ref<CFType> mValue;
};
