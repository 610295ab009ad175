#pragma once

#include "CoreLattice/QCComposition.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"

/// One tile of a picker: a composition and the last picture that was rendered for it. Main thread only.
///
/// Keys: `name` and `thumbnail`, the latter to be observed.
class LTCCompositionPickerTile : public NSObject {
    NS_OBJECT(LTCCompositionPickerTile)
public:
    explicit LTCCompositionPickerTile(QCComposition* composition)
        : mComposition(composition)
    {
    }

    QCComposition* composition() const { return mComposition; }
    CFString* name() const { return mComposition->name(); }
    /// Null before the first picture.
    CVPixelBuffer* thumbnail() const { return mThumbnail; }
    void setThumbnail(CVPixelBuffer* thumbnail);

private:
    const Ref<QCComposition> mComposition;
    Ref<CVPixelBuffer> mThumbnail;
};
