#pragma once

class AVCaptureAcceleratedContextProtocol;

/// What draws with an accelerated context. It is told once the context's image context exists.
class AVCaptureAcceleratedContextDelegate {
public:
    /// Takes what it needs of the context. \return true when that is done; after false it is asked again
    virtual bool constructRendererWithAcceleratedContext(AVCaptureAcceleratedContextProtocol* /*context*/)
    {
        return false;
    }

protected:
    ~AVCaptureAcceleratedContextDelegate() = default;
};
