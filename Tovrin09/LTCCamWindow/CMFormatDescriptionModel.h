#pragma once

#include "Platform/CoreMedia/CMFormatDescription.h"
#include "Platform/Foundation/NSObject.h"
#include "WithRequirements/ReferenceProperty.h"

/// Holds one video format and gives a text about it for a tooltip. Set for every frame from any thread; it lets only
/// changes through and announces them, under the key "tooltipSummary", on the main queue.
class CMFormatDescriptionModel : public NSObject {
    NS_OBJECT(CMFormatDescriptionModel)
public:
    CFString* videoFormatSync() const { return _videoFormat.sync(); }
    CMFormatDescriptionRef videoFormat() const { return _videoFormat.get(); }
    CMFormatDescriptionRef videoFormatAutoreleasedCopy() const { return _videoFormat.autoreleasedCopy(); }
    Ref<CMFormatDescription> videoFormatRetainedCopy() const { return _videoFormat.retainedCopy(); }
    Ref<CMFormatDescription> videoFormatCopy() const { return _videoFormat.copy(); }
    void setVideoFormat(CMFormatDescriptionRef videoFormat);

    /// The operation that callers use: keeps what it has when the two are equal. Null always counts as a change.
    void setVideoFormatDescription(CFType* videoFormatDescription);
    void videoFormatChanged();
    Ref<CFString> videoFormatDescriptionString(CFType* videoFormatDesc);
    /// Empty without a format, never null.
    Ref<CFString> tooltipSummary();

private:
    ReferenceProperty<CMFormatDescription> _videoFormat { "videoFormat" };
};
