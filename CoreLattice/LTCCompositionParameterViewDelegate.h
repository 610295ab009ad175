#pragma once

class CFDictionary;
class CFString;
class LTCCompositionParameterView;

/// What a parameter view asks and tells; all operations are optional and called on the main thread.
class LTCCompositionParameterViewDelegate {
public:
    virtual bool compositionParameterView_shouldDisplayParameterWithKey_attributes(
        LTCCompositionParameterView*, CFString* /*key*/, CFDictionary* /*attributes*/)
    {
        return true;
    }
    virtual void compositionParameterView_didChangeParameterWithKey(LTCCompositionParameterView*, CFString* /*key*/) { }

protected:
    ~LTCCompositionParameterViewDelegate() = default;
};
