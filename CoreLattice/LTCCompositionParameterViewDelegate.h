#pragma once

class CFDictionary;
class CFString;
class LTCCompositionParameterView;

/// What a parameter view asks and tells, on the main thread. All operations are optional: the view asks the delegate
/// whether it responds to the message before it sends it, so a class lists those that it has.
class LTCCompositionParameterViewDelegate {
public:
    /// Whether the parameter is to be shown. Asked for each one when the renderer, its composition or the delegate is
    /// another; without this operation all are shown.
    /// \param key  the port's
    /// \param attributes  the port's, with the keys of QCComposition.h; never null
    virtual bool compositionParameterView_shouldDisplayParameterWithKey_attributes(
        LTCCompositionParameterView*, CFString* /*key*/, CFDictionary* /*attributes*/)
    {
        return true;
    }
    /// The user changed the parameter, whose renderer has the value already.
    virtual void compositionParameterView_didChangeParameterWithKey(LTCCompositionParameterView*, CFString* /*key*/) { }

protected:
    ~LTCCompositionParameterViewDelegate() = default;
};
