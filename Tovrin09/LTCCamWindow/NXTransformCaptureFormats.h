#pragma once

#include "Platform/Foundation/NSValueTransformer.h"

/// Says in a few characters what a device delivers, from the list of its formats ("1280 × 720") or from the list of
/// their frame rates ("30 fps", "5–30 fps").
class NXTransformCaptureFormats : public NSValueTransformer {
    NS_OBJECT(NXTransformCaptureFormats)
public:
    /// Empty for anything but a list that begins with an `AVCaptureDeviceFormat` or an `AVFrameRateRange`; of formats,
    /// the first counts, which is the one in use.
    Ref<CFType> transformedValue(CFType* value) override;
};
