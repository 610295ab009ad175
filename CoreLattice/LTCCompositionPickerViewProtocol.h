#pragma once

#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/Foundation/NSObject.h"

class NSColor;
class QCComposition;

/// What a picker of compositions must do. Main thread only. No operation fails: what makes no sense changes nothing, as
/// each says.
///
/// Whoever sets a picker up gives it its delegate first, then says how it is to choose and to show, then which
/// compositions it offers, which is when the delegate is asked about each of them, and starts the animation last.
class LTCCompositionPickerViewProtocol {
public:
    /// Offers the repository's compositions that conform to \p protocol and have \p attributes, those of them that the
    /// delegate includes, in the repository's order. Nothing is selected then, and the delegate is not told so. The
    /// offer follows the repository from then on; the delegate is asked again at each change.
    /// \param protocol  such as `QCCompositionProtocolImageFilter`; null changes nothing
    /// \param attributes  values that the compositions' attributes must equal; null for any
    virtual void setCompositionsFromRepositoryWithProtocol_andAttributes(CFString* protocol, CFDictionary* attributes)
        = 0;
    /// From now on tiles are drawn as pictures come; the delegate is told after that. Nothing while it is animating.
    /// \param sender  not looked at; may be null
    virtual void startAnimation(NSObject* sender) = 0;
    /// Tells the delegate, then ends that; the tiles keep their pictures. Nothing while it is not animating.
    virtual void stopAnimation(NSObject* sender) = 0;
    virtual bool isAnimating() const = 0;
    /// Gives every tile's composition that has the input \p key this value, and those that are offered later too.
    /// \param value  in the form that the type of the port has; for an image a `CIImage` or a BGRA `CVPixelBuffer`,
    ///     which the picker keeps until the next one; null for the default
    /// \param key  null changes nothing
    virtual void setDefaultValue_forInputKey(CFType* value, CFString* key) = 0;
    /// Takes all of these values back, images too.
    virtual void resetDefaultInputValues() = 0;
    /// Null when there is none or it has gone; kept by the innermost pool.
    virtual NSObject* delegate() const = 0;
    /// \param delegate  an `LTCCompositionPickerViewDelegate`, held weakly, or null. Takes effect for what comes: what
    /// is
    ///     offered already stays.
    virtual void setDelegate(NSObject* delegate) = 0;
    /// The `QCComposition`s that are offered, in their order; never null.
    virtual CFArray* compositions() const = 0;
    /// Whether each tile has its composition's name with it; false at first.
    virtual bool showsCompositionNames() const = 0;
    virtual void setShowsCompositionNames(bool shows) = 0;
    /// Whether the user can choose nothing, with a click beside the tiles; false at first. A selection that is empty
    /// already stays so.
    virtual bool allowsEmptySelection() const = 0;
    virtual void setAllowsEmptySelection(bool allows) = 0;
    /// The shape of the tiles' pictures, of which only the ratio counts; 16 to 9 at first.
    virtual CGSize compositionAspectRatio() const = 0;
    /// \param ratio  both finite and above 0, else nothing changes
    virtual void setCompositionAspectRatio(CGSize ratio) = 0;
    /// Null when nothing is selected; one of `compositions`, kept by the innermost pool.
    virtual QCComposition* selectedComposition() const = 0;
    /// Selects the offered one that is equal to \p composition, without telling the delegate; nothing changes when
    /// there is none. Null empties the selection where that is allowed.
    virtual void setSelectedComposition(QCComposition* composition) = 0;
    /// Most pictures of one tile in a second; 0 for as many as come. 10 at first.
    virtual float maxAnimationFrameRate() const = 0;
    /// \param framesPerSecond  finite and not below 0, else nothing changes
    virtual void setMaxAnimationFrameRate(float framesPerSecond) = 0;
    /// What is drawn behind the tiles where `drawsBackground` is set; null for nothing.
    virtual NSColor* backgroundColor() const = 0;
    virtual void setBackgroundColor(NSColor* color) = 0;
    /// False at first.
    virtual bool drawsBackground() const = 0;
    virtual void setDrawsBackground(bool draws) = 0;
    /// How many rows the tiles stand in; 1 at first.
    virtual std::uint64_t numberOfRows() const = 0;
    /// \param rows  above 0, else nothing changes
    virtual void setNumberOfRows(std::uint64_t rows) = 0;

protected:
    ~LTCCompositionPickerViewProtocol() = default;
};
