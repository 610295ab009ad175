#pragma once

#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/Foundation/NSObject.h"

class NSColor;
class QCComposition;

/// What a picker of compositions must do. Main thread only.
class LTCCompositionPickerViewProtocol {
public:
    /// Offers the repository's compositions of this protocol, those that the delegate includes.
    virtual void setCompositionsFromRepositoryWithProtocol_andAttributes(CFString* protocol, CFDictionary* attributes)
        = 0;
    virtual void startAnimation(NSObject* sender) = 0;
    virtual void stopAnimation(NSObject* sender) = 0;
    virtual bool isAnimating() const = 0;
    /// Gives every tile's composition that has the input \p key this value: a `CIImage` or `CVPixelBuffer` for an
    /// image.
    virtual void setDefaultValue_forInputKey(CFType* value, CFString* key) = 0;
    virtual void resetDefaultInputValues() = 0;
    virtual NSObject* delegate() const = 0;
    /// \param delegate  held weakly; an `LTCCompositionPickerViewDelegate`, or null
    virtual void setDelegate(NSObject* delegate) = 0;
    virtual CFArray* compositions() const = 0;
    virtual bool showsCompositionNames() const = 0;
    virtual void setShowsCompositionNames(bool shows) = 0;
    virtual bool allowsEmptySelection() const = 0;
    virtual void setAllowsEmptySelection(bool allows) = 0;
    virtual CGSize compositionAspectRatio() const = 0;
    virtual void setCompositionAspectRatio(CGSize ratio) = 0;
    virtual QCComposition* selectedComposition() const = 0;
    /// Selects without telling the delegate.
    virtual void setSelectedComposition(QCComposition* composition) = 0;
    virtual float maxAnimationFrameRate() const = 0;
    virtual void setMaxAnimationFrameRate(float framesPerSecond) = 0;
    virtual NSColor* backgroundColor() const = 0;
    virtual void setBackgroundColor(NSColor* color) = 0;
    virtual bool drawsBackground() const = 0;
    virtual void setDrawsBackground(bool draws) = 0;
    virtual std::uint64_t numberOfRows() const = 0;
    virtual void setNumberOfRows(std::uint64_t rows) = 0;

protected:
    ~LTCCompositionPickerViewProtocol() = default;
};
