#include "Platform/OpenGL/CGL.h"

#include "Platform/CoreFoundation/FailPoint.h"

namespace {

thread_local CGLContext* currentContext = nullptr;

/// What the driver is like, asked once of a context that is dropped again.
struct Driver {
    int mostSamples = 0;
    bool isSoftware = false;
};
const Driver& driver()
{
    static const Driver facts = [] {
        Driver result;
        const auto before = GLContext::binding();
        const auto context = GLContext::create(nullptr);
        if (context && context->makeCurrent())
            result = { context->mostSamples(), context->isSoftware() };
        GLContext::restore(before);
        return result;
    }();
    return facts;
}

/// \return false for an attribute that is not known
bool read(const CGLPixelFormatAttribute*& attribute, CGLPixelFormat::Properties& properties)
{
    int* number = nullptr;
    int ignored = 0;
    switch (*attribute++) {
    case kCGLPFADoubleBuffer:
        properties.isDoubleBuffered = true;
        return true;
    case kCGLPFAMultisample:
    case kCGLPFANoRecovery:
    case kCGLPFAAccelerated:
        return true;
    case kCGLPFAColorSize:
        number = &properties.colorSize;
        break;
    case kCGLPFAAlphaSize:
        number = &properties.alphaSize;
        break;
    case kCGLPFADepthSize:
        number = &properties.depthSize;
        break;
    case kCGLPFASamples:
        number = &properties.samples;
        break;
    case kCGLPFASampleBuffers:
        number = &ignored;
        break;
    default:
        return false;
    }
    if (*attribute == 0)
        return false;
    *number = *attribute++;
    return true;
}

bool isPossible(const CGLPixelFormat::Properties& properties)
{
    constexpr int mostColor = 32;
    constexpr int mostAlpha = 8;
    constexpr int mostDepth = 32;
    return properties.colorSize <= mostColor && properties.alphaSize <= mostAlpha && properties.depthSize <= mostDepth
        && GLContext::isAvailable() && (properties.samples == 0 || properties.samples <= driver().mostSamples);
}

}

CFTypeID CGLPixelFormat::typeID() const noexcept
{
    return CGLPixelFormatGetTypeID();
}

CGLContext::CGLContext(Ref<CGLPixelFormat> format)
    : mFormat(std::move(format))
{
}

CGLContext::~CGLContext()
{
    if (currentContext == this)
        (void)CGLSetCurrentContext(nullptr);
}

bool CGLContext::isSoftware() const
{
    return driver().isSoftware;
}

unsigned CGLContext::generation() const noexcept
{
    return mContext ? mContext->generation() : 0;
}

CFTypeID CGLContext::typeID() const noexcept
{
    return CGLContextGetTypeID();
}

bool CGLContext::makeCurrent()
{
    const std::lock_guard lock(mLock);
    if (!mContext)
        mContext = GLContext::create(nullptr);
    return mContext && mContext->makeCurrent();
}

CGLContext::Use::Use(CGLContext& context)
    : mLock(context.mLock)
    , mBefore(currentContext)
    , mBindingBefore(GLContext::binding())
    , mIsCurrent(CGLSetCurrentContext(&context) == kCGLNoError)
{
}

CGLContext::Use::~Use()
{
    GLContext::restore(mBindingBefore);
    currentContext = mBefore;
}

CGLError CGLChoosePixelFormat(
    const CGLPixelFormatAttribute* attributes, Ref<CGLPixelFormat>* format, std::int32_t* count)
{
    *format = nullptr;
    if (count)
        *count = 0;
    if (const auto error = FAIL_POINT("CGLChoosePixelFormat"))
        return *error;
    CGLPixelFormat::Properties properties;
    while (attributes && *attributes != 0) {
        if (!read(attributes, properties))
            return kCGLBadAttribute;
    }
    if (!isPossible(properties))
        return kCGLBadPixelFormat;
    *format = make<CGLPixelFormat>(properties);
    if (count)
        *count = 1;
    return kCGLNoError;
}

CGLError CGLCreateContext(CGLPixelFormatObj format, CGLContextObj share, Ref<CGLContext>* context)
{
    *context = nullptr;
    if (const auto error = FAIL_POINT("CGLCreateContext"))
        return *error;
    if (!format)
        return kCGLBadPixelFormat;
    if (share)
        return kCGLBadContext;
    if (!GLContext::isAvailable())
        return kCGLBadAlloc;
    *context = make<CGLContext>(Ref(format));
    return kCGLNoError;
}

// The parameters are what is dropped.
void CGLDestroyPixelFormat(Ref<CGLPixelFormat> /*format*/) { }

void CGLDestroyContext(Ref<CGLContext> /*context*/) { }

CGLPixelFormatObj CGLGetPixelFormat(CGLContextObj context)
{
    return context ? context->pixelFormat() : nullptr;
}

CGLContextObj CGLGetCurrentContext()
{
    return currentContext;
}

CGLError CGLSetCurrentContext(CGLContextObj context)
{
    if (context == currentContext && !context)
        return kCGLNoError;
    if (!context) {
        currentContext->mContext->resignCurrent();
        currentContext = nullptr;
        return kCGLNoError;
    }
    // Made current also when it is already, since it may have been lost meanwhile.
    if (!context->makeCurrent())
        return kCGLBadContext;
    currentContext = context;
    return kCGLNoError;
}
