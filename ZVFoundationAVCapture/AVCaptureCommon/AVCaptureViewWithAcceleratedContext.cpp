#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureViewWithAcceleratedContext.h"

#include "Platform/Foundation/NSLog.h"
#include "WithRequirements/Requirements.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"

#include <array>

NS_IMPLEMENTATION(AVCaptureViewWithAcceleratedContext, NSOpenGLView)
{
    using Self = AVCaptureViewWithAcceleratedContext;
    type.message("rendererColorSpace", &Self::rendererColorSpace);
    type.message("rendererCIContext", &Self::rendererCIContext);
    type.message("rendererGLContext", &Self::rendererGLContext);
    type.message("rendererGLPixelFormat", &Self::rendererGLPixelFormat);
    type.message("delegate", &Self::delegate);
    type.message("setDelegate:", &Self::setDelegate);
    type.message("colorSpace", &Self::colorSpace);
    type.message("setColorSpace:", &Self::setColorSpace);
    type.message("setOpenGLPixelFormat:", &Self::setOpenGLPixelFormat);
    type.message("lazyDelegate", &Self::lazyDelegate);
    type.message("renderSceneWithDelegate:", &Self::renderSceneWithDelegate);
    type.outlet("delegate", &Self::delegate, &Self::setDelegate);
}

AVCaptureViewWithAcceleratedContext::AVCaptureViewWithAcceleratedContext()
    : AVCaptureViewWithAcceleratedContext(NSRect {})
{
}

AVCaptureViewWithAcceleratedContext::AVCaptureViewWithAcceleratedContext(NSRect frame)
    : AVCaptureViewWithAcceleratedContext(frame, defaultPixelFormat())
{
}

AVCaptureViewWithAcceleratedContext::AVCaptureViewWithAcceleratedContext(
    NSRect frame, const Ref<NSOpenGLPixelFormat>& format)
    : NSOpenGLView(frame, format)
{
    setOpenGLPixelFormat(format);
}

CFDictionary* AVCaptureViewWithAcceleratedContext::CIContextOptionsDictionary()
{
    return AVCaptureAcceleratedContext::CIContextOptionsDictionary();
}

Ref<NSOpenGLPixelFormat> AVCaptureViewWithAcceleratedContext::defaultPixelFormat()
{
    static constexpr std::array<NSOpenGLPixelFormatAttribute, 15> severalSamples { NSOpenGLPFAAccelerated,
        NSOpenGLPFANoRecovery, NSOpenGLPFADoubleBuffer, NSOpenGLPFAColorSize, 24, NSOpenGLPFAAlphaSize, 8,
        NSOpenGLPFADepthSize, 16, NSOpenGLPFAMultisample, NSOpenGLPFASampleBuffers, 1, NSOpenGLPFASamples, 4, 0 };
    static constexpr std::array<NSOpenGLPixelFormatAttribute, 9> plain { NSOpenGLPFAAccelerated,
        NSOpenGLPFADoubleBuffer, NSOpenGLPFAColorSize, 24, NSOpenGLPFAAlphaSize, 8, NSOpenGLPFADepthSize, 16, 0 };
    if (auto format = NSOpenGLPixelFormat::initWithAttributes(severalSamples.data()))
        return format;
    NSLog(CFSTR("Couldn't find an FSAA pixel format, trying something more basic"));
    return NSOpenGLPixelFormat::initWithAttributes(plain.data());
}

Ref<CIContext> AVCaptureViewWithAcceleratedContext::defaultCIContextWithColorSpace(CGColorSpaceRef space)
{
    CGLContextObj const cglContext = CGLGetCurrentContext();
    if (!CFRequiredNotCFNull(cglContext))
        return nullptr;
    return CIContext::contextWithCGLContext_pixelFormat_colorSpace_options(
        cglContext, CGLGetPixelFormat(cglContext), space, CIContextOptionsDictionary());
}

bool AVCaptureViewWithAcceleratedContext::_constructRendererOfDelegate(NSObject* delegate)
{
    if (delegate->respondsToSelector("constructRendererWithAcceleratedContext:")) {
        auto* const receiver = kindOf<AVCaptureAcceleratedContextDelegate>(delegate);
        return receiver && receiver->constructRendererWithAcceleratedContext(this);
    }
    if (delegate->respondsToSelector("constructRendererWithAcceleratedContextView:")) {
        auto* const receiver = kindOf<AVCaptureViewWithAcceleratedContextDelegate>(delegate);
        return receiver && receiver->constructRendererWithAcceleratedContextView(this);
    }
    return false;
}

NSObject* AVCaptureViewWithAcceleratedContext::lazyDelegate()
{
    auto* const lazyDelegate = delegate();
    if (!lazyDelegate)
        return nullptr;
    if (!rendererCIContext()) {
        setColorSpace(CGColorSpaceCreateDeviceRGB().get());
        if (CFRequiredTypeOf(rendererColorSpace(), CGColorSpaceGetTypeID(), "self.rendererColorSpace"))
            setRendererCIContext(defaultCIContextWithColorSpace(rendererColorSpace()).get());
    }
    if (isPresent(rendererCIContext()) && !delegateConstructed())
        _delegateConstructed = _constructRendererOfDelegate(lazyDelegate);
    return lazyDelegate;
}

void AVCaptureViewWithAcceleratedContext::prepareOpenGL()
{
    NSOpenGLView::prepareOpenGL();
    static constexpr std::int32_t withTheDisplay = 1;
    if (auto* const context = openGLContext())
        context->setValues_forParameter(&withTheDisplay, NSOpenGLContextParameterSwapInterval);
    if (respondsToSelector("setWantsBestResolutionOpenGLSurface:"))
        setWantsBestResolutionOpenGLSurface(true);
    if (respondsToSelector("setWantsExtendedDynamicRangeOpenGLSurface:"))
        setWantsExtendedDynamicRangeOpenGLSurface(true);
    if (isPresent(pixelFormat())) {
        lazyDelegate();
        setNeedsDisplay(true);
    }
}

void AVCaptureViewWithAcceleratedContext::drawRect(NSRect /*dirtyRect*/)
{
    auto* const context = openGLContext();
    if (context)
        context->makeCurrentContext();
    renderSceneWithDelegate(lazyDelegate());
    if (context)
        context->flushBuffer();
}

void AVCaptureViewWithAcceleratedContext::renderSceneWithDelegate(NSObject* delegate)
{
    if (!delegate || !delegate->respondsToSelector("renderWithBounds:"))
        return;
    if (auto* const receiver = kindOf<AVCaptureViewWithAcceleratedContextDelegate>(delegate))
        receiver->renderWithBounds(convertRectToBacking(bounds()));
}
