#pragma once

#include "Platform/QuartzCore/CALayer.h"

#include <vector>

/// The open groups of one thread and the layers that changed in them.
class CATransactionGroup {
public:
    /// The group of the calling thread.
    static CATransactionGroup& current();
    /// Remembers \p layer until the outermost group of this thread ends; false when none is open.
    static bool defer(CALayer* layer);

    std::vector<bool> disabledActions;
    std::vector<Ref<CALayer>> changedLayers;
};
