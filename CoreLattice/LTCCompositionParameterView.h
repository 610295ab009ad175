#pragma once

#include "CoreLattice/LTCCompositionParameter.h"
#include "CoreLattice/LTCView.h"

/// Shows the parameters of a rendered composition and applies what the user changes. Main thread only.
///
/// Keys, observed by the view's component: `parameters`, the array of `LTCCompositionParameter` that are shown, and
/// `compositionName`.
class LTCCompositionParameterView : public NSView {
    NS_OBJECT(LTCCompositionParameterView)
public:
    LTCCompositionParameterView();
    ~LTCCompositionParameterView() override;

    /// Shows the parameters of the composition that \p renderer has now, and of those that it takes up later; held
    /// weakly.
    void setCompositionRenderer(LTCView* renderer);
    Ref<LTCView> compositionRenderer() const { return mRenderer.strongReference(); }
    /// \param delegate  an `LTCCompositionParameterViewDelegate` that says which parameters are shown, or null; held
    /// weakly
    void setDelegate(NSObject* delegate);
    Ref<NSObject> delegate() const { return mDelegate.strongReference(); }

    /// Of the composition whose parameters are shown; empty without one.
    CFString* compositionName() const;
    /// What is shown, in the order of the composition's inputs.
    CFArray* parameters() const { return mParameters; }
    /// Every parameter back to its default.
    void resetParameters();

    /// A parameter of this view was changed by the user: gives it to the renderer, then tells the delegate.
    void applyParameter(LTCCompositionParameter* parameter);

    std::string interfaceComponent() override;

private:
    void rebuildParameters();
    Ref<CFArray> presentParameters();
    bool shows(CFArray& parameters) const;
    void _viewDidLoadComposition(NSNotification* notification);

    WeakRef<LTCView> mRenderer;
    WeakRef<NSObject> mDelegate;
    Ref<CFArray> mParameters;
};
