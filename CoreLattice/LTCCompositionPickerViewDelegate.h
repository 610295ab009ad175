#pragma once

class LTCCompositionPickerView;
class QCComposition;

/// What a picker asks and tells; all operations are optional and called on the main thread.
class LTCCompositionPickerViewDelegate {
public:
    /// \param composition  null when the selection became empty
    virtual void compositionPickerView_didSelectComposition(LTCCompositionPickerView*, QCComposition* /*composition*/)
    {
    }
    virtual void compositionPickerViewDidStartAnimating(LTCCompositionPickerView*) { }
    virtual void compositionPickerViewWillStopAnimating(LTCCompositionPickerView*) { }
    virtual bool compositionPickerView_shouldIncludeComposition(LTCCompositionPickerView*, QCComposition*)
    {
        return true;
    }

protected:
    ~LTCCompositionPickerViewDelegate() = default;
};
