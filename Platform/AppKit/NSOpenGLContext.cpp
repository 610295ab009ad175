#include "Platform/AppKit/NSOpenGLContext.h"

#include "Platform/AppKit/NSOpenGLSurface.h"
#include "Platform/AppKit/NSView.h"
#include "Platform/CoreFoundation/FailPoint.h"

NS_IMPLEMENTATION(NSOpenGLContext, NSObject)
{
    type.message("makeCurrentContext", &NSOpenGLContext::makeCurrentContext);
    type.message("flushBuffer", &NSOpenGLContext::flushBuffer);
    type.message("setValues:forParameter:", &NSOpenGLContext::setValues_forParameter);
}

Ref<NSOpenGLContext> NSOpenGLContext::initWithFormat_shareContext(NSOpenGLPixelFormat* format, NSOpenGLContext* share)
{
    Ref<CGLContext> context;
    if (!format
        || CGLCreateContext(format->CGLPixelFormatObj(), share ? share->CGLContextObj() : nullptr, &context)
            != kCGLNoError)
        return nullptr;
    return make<NSOpenGLContext>(std::move(context));
}

NSOpenGLContext::NSOpenGLContext(Ref<CGLContext> context)
    : mContext(std::move(context))
{
}

NSOpenGLContext::~NSOpenGLContext()
{
    if (!mSurface)
        return;
    const CGLContext::Use use(*mContext);
    if (!use)
        mSurface->forget();
    else
        mSurface->forgetIfLost(*mContext);
    mSurface = nullptr;
}

NSView* NSOpenGLContext::view() const
{
    return autorelease(mView.strongReference());
}

void NSOpenGLContext::setView(NSView* view)
{
    mView = view;
}

void NSOpenGLContext::makeCurrentContext()
{
    if (CGLSetCurrentContext(mContext) != kCGLNoError)
        return;
    const auto view = mView.strongReference();
    if (!view)
        return;
    if (!mSurface)
        mSurface = std::make_unique<NSOpenGLSurface>();
    mSurface->bind(*mContext, view->convertRectToBacking(view->bounds()).size);
}

void NSOpenGLContext::flushBuffer()
{
    const auto view = mView.strongReference();
    if (!view || !mSurface || FAIL_POINT("NSOpenGLContext.flushBuffer")
        || CGLSetCurrentContext(mContext) != kCGLNoError)
        return;
    if (mSurface->forgetIfLost(*mContext)) {
        view->setNeedsDisplay(true);
        return;
    }
    const auto picture = mSurface->copyPicture();
    if (auto* const layer = view->layer(); layer && picture)
        layer->setContents(picture);
}

void NSOpenGLContext::setValues_forParameter(const std::int32_t* values, NSOpenGLContextParameter parameter)
{
    if (values && parameter == NSOpenGLContextParameterSwapInterval)
        mSwapInterval = *values;
}

void NSOpenGLContext::getValues_forParameter(std::int32_t* values, NSOpenGLContextParameter parameter) const
{
    if (values && parameter == NSOpenGLContextParameterSwapInterval)
        *values = mSwapInterval;
}
