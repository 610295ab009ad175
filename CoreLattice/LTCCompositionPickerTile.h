#pragma once

#include "CoreLattice/QCComposition.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"
#include "Platform/QuartzCore/CALayer.h"

/// One tile of a picker: a composition, and a layer with the last picture that was rendered for it. The thumbnail may
/// be set from any thread; the rest never changes.
///
/// Keys: `name`, `explanation`, `thumbnail` and `layer`, which tells its host of each new thumbnail.
class LTCCompositionPickerTile : public NSObject {
    NS_OBJECT(LTCCompositionPickerTile)
public:
    explicit LTCCompositionPickerTile(QCComposition* composition);

    QCComposition* composition() const { return mComposition; }
    CFString* name() const { return mComposition->name(); }
    CFString* explanation() const;
    CALayer* layer() const { return mLayer; }
    /// Null before the first picture; kept by the innermost pool.
    CVPixelBuffer* thumbnail() const;
    void setThumbnail(CVPixelBuffer* thumbnail);

private:
    const Ref<QCComposition> mComposition;
    const Ref<CALayer> mLayer;
};
