#pragma once

#include "CoreLattice/LTCUnusableComposition.h"
#include "CoreLattice/QCComposition.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"
#include "Platform/QuartzCore/CALayer.h"

/// One tile of a picker: a composition, and a layer with the last picture that was rendered for it; or a file that
/// cannot be used. The thumbnail may be set from any thread; the rest never changes.
///
/// Keys: `name`, `explanation`, `usable` and `layer`, which tells its host of each new thumbnail.
class LTCCompositionPickerTile : public NSObject {
    NS_OBJECT(LTCCompositionPickerTile)
public:
    explicit LTCCompositionPickerTile(QCComposition* composition);
    explicit LTCCompositionPickerTile(LTCUnusableComposition* unusable);

    /// Null for a file that cannot be used.
    QCComposition* composition() const { return mComposition; }
    bool isUsable() const { return mComposition; }
    /// The `QCComposition` or the `LTCUnusableComposition` that the tile is for.
    NSObject* subject() const;
    CFString* name() const;
    /// What the composition says about itself; why a file cannot be used.
    CFString* explanation() const;
    CALayer* layer() const { return mLayer; }
    /// Null before the first picture; kept by the innermost pool.
    CVPixelBuffer* thumbnail() const;
    void setThumbnail(CVPixelBuffer* thumbnail);

private:
    const Ref<QCComposition> mComposition;
    const Ref<LTCUnusableComposition> mUnusable;
    const Ref<CALayer> mLayer;
};
