#pragma once

#include "CoreLattice/LTCCompositionParameter.h"
#include "Platform/QuartzCore/CALayer.h"

#include <atomic>

/// A parameter of a composition that is a picture. Main thread only; files are read on a queue of their own.
///
/// Keys beside those of every parameter: `layer`, which shows the picture as far as the place beside its label needs
/// it; `hasPicture`; `firstFolderURL`, where to look for one first; `isReading`, while a file is being read; `problem`,
/// the text that says why one could not be, empty otherwise; and, to be written, `pictureURL`.
class LTCCompositionPicture : public LTCCompositionParameter {
    NS_OBJECT(LTCCompositionPicture)
public:
    LTCCompositionPicture(LTCCompositionParameterView* view, CFString* key, CFDictionary* attributes, CFType* value);
    ~LTCCompositionPicture() override;

    CALayer* layer() const { return mLayer; }
    bool hasPicture() const { return mLayer->contents(); }
    /// Of the user's pictures.
    Ref<CFString> firstFolderURL() const;
    bool isReading() const { return mIsReading; }
    CFString* problem() const { return mProblem; }

    /// The URL of the file that was asked for last; empty for none.
    CFString* pictureURL() const { return mURL; }
    /// Begins to read the file. When it has been read, its picture is the value; what cannot be read changes nothing
    /// and is told as the problem. Whatever is set in the meantime is not replaced any more.
    void setPictureURL(CFString* url);
    /// Takes a copy of the picture that the view's composition gets at present.
    void useCurrentPicture();

private:
    /// \param value  a `CVPixelBuffer` or a `CIImage`; null for none
    void apply(Ref<CFType> value) override;
    void setState(bool isReading, CFString* problem);
    void take(CVPixelBuffer* picture, CVPixelBuffer* thumbnail);

    const Ref<CALayer> mLayer;
    Ref<CFString> mURL = CFSTR("");
    Ref<CFString> mProblem = CFSTR("");
    bool mIsReading = false;
    /// The reading that is wanted; one with another number is over. Read on the queue too.
    std::atomic<std::uint64_t> mReading { 0 };
};
