#pragma once

#include "Platform/CoreMedia/CMTime.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"

/// Supplies the frames that go to the virtual camera.
class ZVCMIOClientDeviceControllerDelegate {
public:
    virtual ~ZVCMIOClientDeviceControllerDelegate() = default;
    /// The newest frame, now the caller's. On the timer queue.
    virtual Ref<CVPixelBuffer> copyFramePixelBufferWithPresentationTime(const CMTime& /*presentationTime*/)
    {
        return nullptr;
    }
};
