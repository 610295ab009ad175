#pragma once

#include "Platform/AppKit/NSOpenGLContext.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContextDelegate.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContextProtocol.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAtomicReference.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureWeakOptional.h"

/// An offscreen context of OpenGL for the renderers of an interface file. Its image context is made when a delegate
/// first needs one, and the delegate is told once.
class AVCaptureAcceleratedContext : public NSObject, public AVCaptureAcceleratedContextProtocol {
    NS_OBJECT(AVCaptureAcceleratedContext)
public:
    AVCaptureAcceleratedContext();

    NSObject* delegate() override { return _delegate.retainedAndAutoreleasedOrNil(); }
    void setDelegate(NSObject* delegate) override { _delegate = delegate; }
    bool delegateConstructed() const { return _delegateConstructed; }
    NSOpenGLPixelFormat* openGLPixelFormat() const { return _openGLPixelFormat; }
    NSOpenGLContext* openGLContext() const { return _openGLContext; }
    CGColorSpaceRef rendererColorSpace() override { return _rendererColorSpace; }
    /// Null until `lazyDelegate` has made it.
    CIContext* rendererCIContext() override { return _rendererCIContext.get(); }
    void setRendererCIContext(CIContext* context) { _rendererCIContext.set(context); }

    static CFDictionary* CIContextOptionsDictionary();
    /// \return null without a context and when the host makes none
    Ref<CIContext> CIContextWithCGLContext(CGLContextObj context);
    /// The delegate, for which the image context exists and which has been told of it; null when there is none.
    NSObject* lazyDelegate();
    void awakeFromNib() override;

private:
    bool _delegateConstructed = false;
    AVCapture::WeakOptional _delegate;
    Ref<NSOpenGLPixelFormat> _openGLPixelFormat;
    Ref<NSOpenGLContext> _openGLContext;
    Ref<CGColorSpace> _rendererColorSpace;
    AVCaptureAtomicReference<CIContext> _rendererCIContext;
};
