#pragma once

class LTCCompositionPickerView;
class QCComposition;

/// What a picker asks and tells, on the main thread. All operations are optional: the picker asks the delegate whether
/// it responds to the message before it sends it, so a class lists those that it has.
class LTCCompositionPickerViewDelegate {
public:
    /// The user chose; the same composition again is told again. Not called for a selection that the program sets.
    /// \param composition  one that is offered, the picker's own, to be copied by who keeps it; null when the selection
    ///     became empty
    virtual void compositionPickerView_didSelectComposition(LTCCompositionPickerView*, QCComposition* /*composition*/)
    {
    }
    /// After the animation began.
    virtual void compositionPickerViewDidStartAnimating(LTCCompositionPickerView*) { }
    /// Before the animation ends.
    virtual void compositionPickerViewWillStopAnimating(LTCCompositionPickerView*) { }
    /// Whether the composition is to be offered. Asked for each one of the repository when the compositions are set,
    /// and when the repository changes; without this operation all are.
    virtual bool compositionPickerView_shouldIncludeComposition(LTCCompositionPickerView*, QCComposition*)
    {
        return true;
    }

protected:
    ~LTCCompositionPickerViewDelegate() = default;
};
