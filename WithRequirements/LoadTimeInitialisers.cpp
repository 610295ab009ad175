#include "WithRequirements/LoadTimeInitialisers.h"

#include "WithRequirements/RequiredCoreLog.h"
#include "WithRequirements/RequiredFoundation.h"

#include <mutex>

void WithRequirementsRunLoadTimeInitialisers()
{
    static std::once_flag once;
    std::call_once(once, [] {
        NSRequiredNotNSNullCachedValueConstructor();
        RequiredCoreLogTypeRefConstructor();
        __GLOBAL_init_65535();
    });
}

/// Named by the build, so that every program that is linked with this library has it. Keeps its C name for that.
extern "C" {
extern const bool WithRequirementsLoadTimeInitialisers;
const bool WithRequirementsLoadTimeInitialisers = [] {
    WithRequirementsRunLoadTimeInitialisers();
    return true;
}();
}
