#include "Tovrin09/LTCCamWindow/NXTransformCaptureFormats.h"

#include "Platform/AVFoundation/AVCaptureDeviceFormat.h"

#include <algorithm>

NS_IMPLEMENTATION(NXTransformCaptureFormats, NSValueTransformer) { }

namespace {

/// A rate as people write it: whole where it nearly is, else with one digit (29.97 is 30, 7.5 stays).
std::string rateText(double rate)
{
    const auto text = CFFormat("%.1f", { rate });
    return text.ends_with(".0") ? text.substr(0, text.size() - 2) : text;
}

}

Ref<CFType> NXTransformCaptureFormats::transformedValue(CFType* value)
{
    auto* const list = kindOf<CFArray>(value);
    if (!list || list->count() == 0)
        return CFString::create("");
    if (const auto* const format = kindOf<AVCaptureDeviceFormat>(list->objectAtIndex(0))) {
        if (!CFEqual(format->mediaType(), AVMediaTypeVideo))
            return CFString::create("");
        const auto [width, height] = CMVideoFormatDescriptionGetDimensions(format->formatDescription());
        return CFString::create(CFFormat("%d × %d", { width, height }));
    }
    double least = 0;
    double most = 0;
    for (const auto& each : list->values()) {
        const auto* const range = kindOf<AVFrameRateRange>(each);
        if (!range)
            return CFString::create("");
        least = least > 0 ? std::min(least, range->minFrameRate()) : range->minFrameRate();
        most = std::max(most, range->maxFrameRate());
    }
    const auto first = rateText(least);
    const auto last = rateText(most);
    return CFString::create(first == last ? last + " fps" : first + "–" + last + " fps");
}
