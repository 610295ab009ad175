#pragma once

#include "CoreLattice/QCComposition.h"

#include <mutex>
#include <vector>

/// The compositions that the process knows: those that the framework brings along, and those that the application
/// registers. Any thread may use it.
class LTCCompositionRepository : public NSObject {
    NS_OBJECT(LTCCompositionRepository)
public:
    static LTCCompositionRepository* sharedCompositionRepository();

    /// Adds the composition that was compiled into the program under \p name. A name that is there already, or that no
    /// composition has, changes nothing; the latter is logged, and so is a file that cannot be read, with its message.
    void registerApplicationCompositionWithName(CFString* name);

    /// The composition of the shared repository with this registered name, kept by the innermost pool; null when there
    /// is none.
    static QCComposition* compositionWithName(CFString* name);

    /// Those with the ports of \p protocol, the application's first, in the order in which they were registered.
    /// \param attributes  values that the composition's own attributes must equal; null or empty for none
    Ref<CFArray> compositionsWithProtocol_andAttributes(CFString* protocol, CFDictionary* attributes);

private:
    struct Entry {
        Ref<CFString> name;
        Ref<QCComposition> composition;
    };
    void registerOwnCompositions();

    std::once_flag mOwnRegistered;
    std::mutex mLock;
    std::vector<Entry> mApplicationEntries;
    std::vector<Entry> mOwnEntries;
};
