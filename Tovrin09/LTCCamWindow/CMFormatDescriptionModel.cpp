#include "Tovrin09/LTCCamWindow/CMFormatDescriptionModel.h"

#include "Platform/dispatch/dispatch.h"
#include "WithRequirements/FourCharCodeString.h"
#include "WithRequirements/Requirements.h"

NS_IMPLEMENTATION(CMFormatDescriptionModel, NSObject)
{
    type.message("setVideoFormatDescription:", &CMFormatDescriptionModel::setVideoFormatDescription);
    type.key("tooltipSummary", &CMFormatDescriptionModel::tooltipSummary);
}

void CMFormatDescriptionModel::setVideoFormat(CMFormatDescriptionRef videoFormat)
{
    _videoFormat.set(videoFormat);
    videoFormatChanged();
}

void CMFormatDescriptionModel::setVideoFormatDescription(CFType* videoFormatDescription)
{
    if (!videoFormatDescription) {
        setVideoFormat(nullptr);
        return;
    }
    if (!CFRequiredTypeOf(videoFormatDescription, CMFormatDescriptionGetTypeID()))
        return;
    auto* const format = kindOf<CMFormatDescription>(videoFormatDescription);
    const auto held = videoFormatRetainedCopy();
    if (!held || !CFEqual(held, format))
        setVideoFormat(format);
}

void CMFormatDescriptionModel::videoFormatChanged()
{
    dispatch_async(dispatch_get_main_queue(), [self = Ref(this)] {
        self->willChangeValueForKey("tooltipSummary");
        self->didChangeValueForKey("tooltipSummary");
    });
}

Ref<CFString> CMFormatDescriptionModel::videoFormatDescriptionString(CFType* videoFormatDesc)
{
    auto* const format = kindOf<CMFormatDescription>(videoFormatDesc);
    char mediaSubType[13] {};
    FourCharCodeString_Construct(mediaSubType, CMFormatDescriptionGetMediaSubType(format));
    if (!CFRequiredTypeOf(videoFormatDesc, CMFormatDescriptionGetTypeID()))
        return CFString::create("");
    const auto description = CFString::create(format->description());
    if (!CFRequiredTypeOf(description, CFStringGetTypeID()))
        return CFString::create("");
    return CFStringCreateWithFormat(CFSTR("(%s)\n%@\n"), mediaSubType, description);
}

Ref<CFString> CMFormatDescriptionModel::tooltipSummary()
{
    if (!videoFormat())
        return CFString::create("");
    const auto format = videoFormatRetainedCopy();
    if (!CFRequiredTypeOf(format, CMFormatDescriptionGetTypeID(), "videoFormat"))
        return CFString::create("");
    return videoFormatDescriptionString(format);
}
