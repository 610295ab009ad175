#pragma once

#include "Platform/CoreGraphics/CGGeometry.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContextDelegate.h"

class AVCaptureViewWithAcceleratedContext;

/// What draws in a view with an accelerated context. Every call is optional.
class AVCaptureViewWithAcceleratedContextDelegate : public AVCaptureAcceleratedContextDelegate {
public:
    /// The same as `constructRendererWithAcceleratedContext`, for a delegate that does not answer that one.
    virtual bool constructRendererWithAcceleratedContextView(AVCaptureViewWithAcceleratedContext* /*view*/)
    {
        return false;
    }
    /// Draws, with the view's context current. \param bounds  the view's, in pixels of the screen
    virtual void renderWithBounds(CGRect /*bounds*/) { }

protected:
    ~AVCaptureViewWithAcceleratedContextDelegate() = default;
};
