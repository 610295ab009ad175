#include "CoreLattice/LTCCompositionParameterView.h"

#include "CoreLattice/LTCCompositionParameterViewDelegate.h"
#include "CoreLattice/LTCCompositionPicture.h"

#include <algorithm>

NS_IMPLEMENTATION(LTCCompositionParameterView, NSView)
{
    type.message("setCompositionRenderer:", &LTCCompositionParameterView::setCompositionRenderer);
    type.message("setDelegate:", &LTCCompositionParameterView::setDelegate);
    type.message("resetParameters", &LTCCompositionParameterView::resetParameters);
    type.message("_viewDidLoadComposition:", &LTCCompositionParameterView::_viewDidLoadComposition);
    type.key("parameters", &LTCCompositionParameterView::parameters);
    type.key("compositionName", &LTCCompositionParameterView::compositionName);
    type.outlet("delegate", &LTCCompositionParameterView::delegate, &LTCCompositionParameterView::setDelegate);
}

LTCCompositionParameterView::LTCCompositionParameterView()
    : mParameters(make<CFArray>())
{
    NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
        this, "_viewDidLoadComposition:", LTCViewDidLoadCompositionNotification, nullptr);
}

LTCCompositionParameterView::~LTCCompositionParameterView() = default;

std::string LTCCompositionParameterView::interfaceComponent()
{
    return "qrc:/CoreLattice/LTCCompositionParameterView.qml";
}

CFString* LTCCompositionParameterView::compositionName() const
{
    const auto renderer = mRenderer.strongReference();
    const auto* const composition = renderer ? renderer->loadedComposition() : nullptr;
    return composition ? composition->name() : CFSTR("");
}

void LTCCompositionParameterView::setCompositionRenderer(LTCView* renderer)
{
    {
        const NSKeyValueChange change(this, "compositionName");
        mRenderer = renderer;
    }
    rebuildParameters();
}

void LTCCompositionParameterView::setDelegate(NSObject* delegate)
{
    mDelegate = delegate;
    // The new delegate may want other parameters to be seen. A delegate that leaves, as at the end, changes nothing.
    if (delegate)
        rebuildParameters();
}

/// A composition that came into the renderer by another road than this view's owner.
void LTCCompositionParameterView::_viewDidLoadComposition(NSNotification* notification)
{
    if (!DispatchMain::isMainThread()) {
        dispatch_async(dispatch_get_main_queue(), [weakSelf = WeakRef { this }, notification = Ref(notification)] {
            if (const auto self = weakSelf.strongReference())
                self->_viewDidLoadComposition(notification);
        });
        return;
    }
    const auto renderer = mRenderer.strongReference();
    if (!renderer || notification->object() != renderer.get())
        return;
    {
        const NSKeyValueChange change(this, "compositionName");
    }
    // One whose file is edited under the user's hands mostly has the same parameters, whose controls stay.
    auto parameters = presentParameters();
    if (shows(*parameters))
        return;
    const NSKeyValueChange change(this, "parameters");
    mParameters = std::move(parameters);
}

bool LTCCompositionParameterView::shows(CFArray& parameters) const
{
    const auto same = [](const Ref<CFType>& a, const Ref<CFType>& b) {
        return kindOf<LTCCompositionParameter>(a)->shows(*kindOf<LTCCompositionParameter>(b));
    };
    return std::ranges::equal(mParameters->values(), parameters.values(), same);
}

void LTCCompositionParameterView::rebuildParameters()
{
    auto parameters = presentParameters();
    const NSKeyValueChange change(this, "parameters");
    mParameters = std::move(parameters);
}

Ref<CFArray> LTCCompositionParameterView::presentParameters()
{
    const auto renderer = mRenderer.strongReference();
    const auto delegate = mDelegate.strongReference();
    auto* const judge
        = delegate && delegate->respondsToSelector("compositionParameterView:shouldDisplayParameterWithKey:attributes:")
        ? kindOf<LTCCompositionParameterViewDelegate>(delegate)
        : nullptr;
    auto* const attributes = renderer ? renderer->attributes() : nullptr;
    auto parameters = make<CFArray>();
    if (attributes) {
        for (const auto& input : renderer->inputKeys()->values()) {
            auto* const key = kindOf<CFString>(input);
            auto* const port = attributes->get<CFDictionary>(key);
            if (!port)
                continue;
            if (judge && !judge->compositionParameterView_shouldDisplayParameterWithKey_attributes(this, key, port))
                continue;
            const auto value = renderer->valueForInputKey(key);
            if (CFEqual(port->objectForKey(LTCPortTypeKey), LTCPortTypeImage))
                parameters->append(make<LTCCompositionPicture>(this, key, port, value.get()).get());
            else
                parameters->append(make<LTCCompositionParameter>(this, key, port, value.get()).get());
        }
    }
    return parameters;
}

void LTCCompositionParameterView::resetParameters()
{
    for (const auto& value : mParameters->values()) {
        if (auto* const parameter = kindOf<LTCCompositionParameter>(value))
            parameter->reset();
    }
}

void LTCCompositionParameterView::applyParameter(LTCCompositionParameter* parameter)
{
    const auto renderer = mRenderer.strongReference();
    if (!renderer || !parameter)
        return;
    renderer->setValue_forInputKey(parameter->value().get(), parameter->key());
    renderer->setNeedsDisplay(true);
    const auto delegate = mDelegate.strongReference();
    if (delegate && delegate->respondsToSelector("compositionParameterView:didChangeParameterWithKey:")) {
        if (auto* const told = kindOf<LTCCompositionParameterViewDelegate>(delegate))
            told->compositionParameterView_didChangeParameterWithKey(this, parameter->key());
    }
}
