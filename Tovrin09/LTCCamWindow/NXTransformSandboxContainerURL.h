#pragma once

#include "Platform/Foundation/NSValueTransformer.h"

/// Shortens the path of a file for display: "~/<folder>/<file>".
class NXTransformSandboxContainerURL : public NSValueTransformer {
    NS_OBJECT(NXTransformSandboxContainerURL)
public:
    /// Empty for anything but an `NSURL`.
    Ref<CFType> transformedValue(CFType* value) override;
};
