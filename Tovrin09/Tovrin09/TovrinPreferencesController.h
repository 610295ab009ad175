#pragma once

#include "Platform/Foundation/NSUserDefaults.h"
#include "WithRequirements/ZVSingleton.h"

/// The user's preferences as one shared object for bindings. Stores nothing itself: values live in the shared defaults
/// controller.
class TovrinPreferencesController : public ZVSingleton {
    NS_OBJECT(TovrinPreferencesController)
public:
    static TovrinPreferencesController* sharedInstance()
    {
        return kindOf<TovrinPreferencesController>(ZVSingleton::sharedInstance(classObject()));
    }
    /// Registers what the preferences are before the user has set any.
    static void preferencesStartup();

    ZVSingleton* singletonInitFirstInstanceOnly() override;
    bool proxyTargetConstructed() const;

    /// A number; nothing in the program reads it, it is there for bindings.
    Ref<CFType> showDiagnostics() const;
    void setShowDiagnostics(CFType* value);

private:
    WeakRef<NSUserDefaultsController> proxyTarget;
};
