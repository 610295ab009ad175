#pragma once

#include "Platform/AppKit/NSOpenGLView.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContextProtocol.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAtomicReference.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureViewWithAcceleratedContextDelegate.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureWeakOptional.h"

/// A view with a surface of OpenGL that its delegate draws on, for interface files. Its image context, in the colours
/// of the device, is made when a delegate first needs one, and the delegate is told once. Main thread, but for reading
/// the image context.
class AVCaptureViewWithAcceleratedContext : public NSOpenGLView, public AVCaptureAcceleratedContextProtocol {
    NS_OBJECT(AVCaptureViewWithAcceleratedContext)
public:
    AVCaptureViewWithAcceleratedContext();
    explicit AVCaptureViewWithAcceleratedContext(NSRect frame);

    NSObject* delegate() override { return _delegate.retainedAndAutoreleasedOrNil(); }
    void setDelegate(NSObject* delegate) override { _delegate = delegate; }
    bool delegateConstructed() const { return _delegateConstructed; }
    /// Null until `lazyDelegate` has made it.
    CIContext* rendererCIContext() override { return _rendererCIContext.get(); }
    void setRendererCIContext(CIContext* context) { _rendererCIContext.set(context); }
    NSOpenGLPixelFormat* openGLPixelFormat() const { return _openGLPixelFormat.get(); }
    void setOpenGLPixelFormat(NSOpenGLPixelFormat* format) { _openGLPixelFormat.set(format); }
    CGColorSpaceRef colorSpace() const { return _colorSpace.get(); }
    void setColorSpace(CGColorSpaceRef space) { _colorSpace.set(space); }
    CGColorSpaceRef rendererColorSpace() override { return colorSpace(); }
    NSOpenGLContext* rendererGLContext() override { return openGLContext(); }
    NSOpenGLPixelFormat* rendererGLPixelFormat() override { return pixelFormat(); }

    static CFDictionary* CIContextOptionsDictionary();
    /// A format with several samples a pixel, or a plain one where the machine has none such; null when it has neither.
    static Ref<NSOpenGLPixelFormat> defaultPixelFormat();
    /// An image context over the thread's present context. \return null when it has none and when the host makes none
    static Ref<CIContext> defaultCIContextWithColorSpace(CGColorSpaceRef space);
    /// The delegate, for which the image context exists and which has been told of it; null when there is none.
    NSObject* lazyDelegate();
    void renderSceneWithDelegate(NSObject* delegate);

    void prepareOpenGL() override;
    void drawRect(NSRect dirtyRect) override;

private:
    AVCaptureViewWithAcceleratedContext(NSRect frame, const Ref<NSOpenGLPixelFormat>& format);
    bool _constructRendererOfDelegate(NSObject* delegate);

    bool _delegateConstructed = false;
    AVCapture::WeakOptional _delegate;
    AVCaptureAtomicReference<CIContext> _rendererCIContext;
    AVCaptureAtomicReference<NSOpenGLPixelFormat> _openGLPixelFormat;
    AVCaptureAtomicReference<CGColorSpace> _colorSpace;
};
