#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"

#include "WithRequirements/Requirements.h"

#include <array>

NS_IMPLEMENTATION(AVCaptureAcceleratedContext, NSObject)
{
    using Self = AVCaptureAcceleratedContext;
    type.message("rendererColorSpace", &Self::rendererColorSpace);
    type.message("rendererCIContext", &Self::rendererCIContext);
    type.message("delegate", &Self::delegate);
    type.message("setDelegate:", &Self::setDelegate);
    type.message("lazyDelegate", &Self::lazyDelegate);
    type.outlet("delegate", &Self::delegate, &Self::setDelegate);
}

AVCaptureAcceleratedContext::AVCaptureAcceleratedContext()
{
    static constexpr std::array<NSOpenGLPixelFormatAttribute, 2> attributes { NSOpenGLPFAAccelerated, 0 };
    _openGLPixelFormat = NSOpenGLPixelFormat::initWithAttributes(attributes.data());
    _openGLContext = NSOpenGLContext::initWithFormat_shareContext(_openGLPixelFormat, nullptr);
    _rendererColorSpace = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    (void)CFRequiredTypeOfIn("init", rendererColorSpace(), CGColorSpaceGetTypeID(), "self.rendererColorSpace");
}

CFDictionary* AVCaptureAcceleratedContext::CIContextOptionsDictionary()
{
    return autorelease(CFDictionary::create({ { kCIContextCacheIntermediates, kCFBooleanFalse } }));
}

Ref<CIContext> AVCaptureAcceleratedContext::CIContextWithCGLContext(CGLContextObj context)
{
    if (!CFRequiredNotCFNull(context, "CGLContextObj"))
        return nullptr;
    return CIContext::contextWithCGLContext_pixelFormat_colorSpace_options(
        context, CGLGetPixelFormat(context), rendererColorSpace(), CIContextOptionsDictionary());
}

NSObject* AVCaptureAcceleratedContext::lazyDelegate()
{
    auto* const lazyDelegate = delegate();
    if (!lazyDelegate)
        return nullptr;
    if (!rendererCIContext()
        && CFRequiredTypeOf(rendererColorSpace(), CGColorSpaceGetTypeID(), "self.rendererColorSpace")
        && isPresent(openGLContext()))
        setRendererCIContext(CIContextWithCGLContext(openGLContext()->CGLContextObj()).get());
    if (isPresent(rendererCIContext()) && !delegateConstructed()) {
        if (CFRequired(lazyDelegate->respondsToSelector("constructRendererWithAcceleratedContext:"),
                "[lazyDelegate respondsToSelector:@selector(constructRendererWithAcceleratedContext:)]")) {
            auto* const receiver = kindOf<AVCaptureAcceleratedContextDelegate>(lazyDelegate);
            _delegateConstructed = receiver && receiver->constructRendererWithAcceleratedContext(this);
        }
    }
    return lazyDelegate;
}

void AVCaptureAcceleratedContext::awakeFromNib()
{
    if (isPresent(openGLPixelFormat()))
        lazyDelegate();
}
