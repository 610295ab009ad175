#pragma once

#include "CoreLattice/QCComposition.h"
#include "Platform/AppKit/NSView.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSNotification.h"

#include <atomic>

namespace CoreLattice {
class ViewRenderer;
}

/// A view that renders a composition and shows its picture, keeping the picture's shape.
///
/// It renders, on the framework's render thread, after `setNeedsDisplay` while it is between `startRendering` and
/// `stopRendering`; requests that arrive while a render waits are one. A composition that depends on the time is
/// rendered at up to 30 pictures a second even without requests. Every render goes through `renderAtTime_arguments`.
///
/// A composition that cannot be compiled, or takes more time or memory than any may have, is given up: the reason is
/// logged once with file, line and message and told by `LTCViewDidRefuseCompositionNotification`, and the composition
/// that was rendered before comes back; without one the input picture comes through as it is.
///
/// When a repository has another composition with the identifier of the one that is rendered, since its file was
/// edited, the view takes that up: parameters that both have with the same type keep their values.
class LTCView : public NSView {
    NS_OBJECT(LTCView)
public:
    LTCView();
    ~LTCView() override;

    /// Whether the picture of a new view is to be shown upside down: it is not.
    static bool classDefaultIsPreviewFlipped();
    bool isPreviewFlippedY() const;
    /// Turns what is shown over, at once; the output is not turned. Main thread.
    void setIsPreviewFlippedY(bool flipped);

    /// Makes \p composition the one that is rendered from the next render on, its inputs at their defaults except for
    /// the picture, which stays. Null leaves the view without a composition. Any thread.
    ///
    /// The view keeps \p composition, not a copy. While the driver compiles it, the view's own rendering goes on with
    /// the former one. The last picture stays the output until the next render. Posts
    /// `LTCViewDidLoadCompositionNotification` before it returns; what is wrong with the composition shows when it has
    /// been compiled.
    void loadComposition(QCComposition* composition);
    /// Null without one. Any thread; kept by the innermost pool.
    QCComposition* loadedComposition() const;
    /// The attributes of the composition, with an entry for each port; null without a composition. Any thread; kept by
    /// the innermost pool.
    CFDictionary* attributes() const;
    /// The keys of the composition's inputs; empty without one. Any thread; kept by the innermost pool.
    CFArray* inputKeys() const;

    /// Sets an input, for the next render. Any thread, the render thread too. Asks for no render. Keys that the
    /// composition does not have are ignored; a value of another class counts as null.
    /// \param value  a number for numbers, truth values, menus and events; an array of numbers for points (x, y, in the
    ///     unit of the port) and colours (red, green, blue, alpha from 0 to 1); a `CVPixelBuffer` (BGRA) or a `CIImage`
    ///     for pictures, of which nobody may change the pixels as long as the view has it; null, or the null object,
    ///     for the default, which for a picture is none. Bounds are for those who show controls: a number beyond them
    ///     is taken as it is.
    void setValue_forInputKey(CFType* value, CFString* key);
    /// The input's present value in the same form; null for an unknown key and for a picture that was never set.
    Ref<CFType> valueForInputKey(CFString* key) const;
    /// The last rendered picture. Any thread. What is given out is never written to again.
    /// \param key  `QCCompositionOutputImageKey`
    /// \param type  "CVPixelBuffer" for the buffer itself; "CGImage" for an image of its own with the same pixels, made
    ///     by rendering first if the loaded composition has no picture yet
    /// \return null for another key or type and when there is nothing to give
    Ref<CFType> valueForOutputKey_ofType(CFString* key, CFString* type);

    /// Begins to render, and the time that compositions see; nothing while it renders already. Main thread.
    void startRendering();
    /// No render begins after this one is over; one that runs is not waited for. The output stays. Main thread.
    void stopRendering();
    /// Between the two. Any thread.
    bool isRendering() const;

    /// Renders once with the present inputs and keeps the result as the output. To be overridden by who wants to set
    /// inputs before each render, or to have the output after it: the view itself renders through this operation only,
    /// on the render thread. Called on another thread it waits for that one, and for the driver to compile.
    /// \param time  seconds since `startRendering`
    /// \param arguments  not looked at; may be null
    /// \return false when there is no composition, no picture at the input for the picture, or no memory; the output is
    ///     what it was then
    virtual bool renderAtTime_arguments(double time, CFDictionary* arguments);

    /// Asks for a render; before `startRendering` only for what is shown to be shown again. Any thread.
    void setNeedsDisplay(bool needsDisplay) override;

    bool isOpaque() override { return true; }

private:
    void requestRender();
    void renderNow();
    void showOutput();
    void tellOfRefusal();
    void tellOfLoad(QCComposition* composition);
    void _repositoryDidUpdate(NSNotification* notification);
    void updateTimer();
    void displayTick();
    double secondsSinceStart() const;

    const std::shared_ptr<CoreLattice::ViewRenderer> mRenderer;
    std::atomic<bool> mRendering { false };
    std::atomic<bool> mRenderWaits { false };
    std::atomic<bool> mFlipped { false };
    // On the host clock, in nanoseconds.
    std::atomic<std::int64_t> mStart { 0 };
    std::atomic<std::int64_t> mLastRequest { 0 };
    std::atomic<std::int64_t> mLastRender { 0 };
    std::mutex mTimerLock;
    Ref<dispatch_queue> mTimerQueue;
    Ref<dispatch_source> mTimer;
    Ref<QCComposition> mRefused; ///< which is not taken up again by itself; main thread
};
