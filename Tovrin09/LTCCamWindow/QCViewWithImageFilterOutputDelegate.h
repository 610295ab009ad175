#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"

class LTCView;

/// Who is told of each rendered picture. The view asks for the message before it sends it, and stores no output for a
/// delegate without it.
class QCViewWithImageFilterOutputDelegate {
public:
    /// On the framework's render thread.
    virtual void ltcView_didRenderCompositionWithVideoCVPixelBuffer(LTCView* /*view*/, CVPixelBufferRef /*buffer*/) { }

protected:
    ~QCViewWithImageFilterOutputDelegate() = default;
};
