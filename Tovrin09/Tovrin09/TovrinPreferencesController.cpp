#include "Tovrin09/Tovrin09/TovrinPreferencesController.h"

namespace {

constexpr std::string_view showDiagnosticsKeyPath = "values.showDiagnostics";

}

NS_IMPLEMENTATION(TovrinPreferencesController, ZVSingleton)
{
    type.key("showDiagnostics", &TovrinPreferencesController::showDiagnostics,
        &TovrinPreferencesController::setShowDiagnostics);
}

void TovrinPreferencesController::preferencesStartup()
{
    const auto defaults = CFDictionary::create({ { CFSTR("showDiagnostics"), kCFBooleanFalse } });
    NSUserDefaults::standardUserDefaults()->registerDefaults(defaults);
}

ZVSingleton* TovrinPreferencesController::singletonInitFirstInstanceOnly()
{
    proxyTarget = NSUserDefaultsController::sharedUserDefaultsController();
    return ZVSingleton::singletonInitFirstInstanceOnly();
}

bool TovrinPreferencesController::proxyTargetConstructed() const
{
    return static_cast<bool>(proxyTarget.strongReference());
}

Ref<CFType> TovrinPreferencesController::showDiagnostics() const
{
    const auto target = proxyTarget.strongReference();
    return target ? target->valueForKeyPath(showDiagnosticsKeyPath) : nullptr;
}

void TovrinPreferencesController::setShowDiagnostics(CFType* value)
{
    const NSKeyValueChange change(this, "showDiagnostics");
    if (const auto target = proxyTarget.strongReference())
        target->setValue_forKeyPath(value, showDiagnosticsKeyPath);
}
