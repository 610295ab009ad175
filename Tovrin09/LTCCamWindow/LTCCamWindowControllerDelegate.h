#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"
#include "Platform/Foundation/NSObject.h"

class LTCCamWindowController;

/// Who takes the processed frames and shows the output window. Both operations are required, and asked for all the
/// same.
class LTCCamWindowControllerDelegate {
public:
    /// On the video queue, for every frame; the buffer is valid for the call.
    virtual void camWindowController_didOutputPixelBuffer(
        LTCCamWindowController* /*controller*/, CVPixelBufferRef /*inputPixelBuffer*/)
    {
    }
    virtual void actionFakeWebCamPanel(NSObject* /*sender*/) { }

protected:
    ~LTCCamWindowControllerDelegate() = default;
};
