#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/AcceleratedCIContext.h"

#include "WithRequirements/Requirements.h"

#include <array>

namespace ZVCMIO {

namespace {

constexpr std::array<CGLPixelFormatAttribute, 2> kCGLPixelFormatAttributes { kCGLPFAAccelerated, 0 };

Ref<CGLPixelFormat> sCreateOffscreenAcceleratedPixelFormat()
{
    Ref<CGLPixelFormat> pixelFormatObj;
    std::int32_t numberOfPixelFormats = 0;
    (void)CGLErrorRequired(
        CGLChoosePixelFormat(kCGLPixelFormatAttributes.data(), &pixelFormatObj, &numberOfPixelFormats),
        "CGLChoosePixelFormat(kCGLPixelFormatAttributes, &pixelFormatObj, &numberOfPixelFormats)");
    return pixelFormatObj;
}

Ref<CIContext> copyCIContextWithCGLContext(
    CGLContextObj inCGLContextObj, CGLPixelFormatObj inCGLPixelFormatObj, CGColorSpaceRef inColorSpaceRef)
{
    if (!CFRequiredNotCFNull(inCGLContextObj, "inCGLContextObj")
        || !CFRequiredNotCFNull(inCGLPixelFormatObj, "inCGLPixelFormatObj")
        || !CFRequiredTypeOf(inColorSpaceRef, CGColorSpaceGetTypeID(), "inColorSpaceRef"))
        return nullptr;
    return CIContext::contextWithCGLContext_pixelFormat_colorSpace_options(
        inCGLContextObj, inCGLPixelFormatObj, inColorSpaceRef, AcceleratedCIContext::CIContextOptionsDictionary());
}

}

AcceleratedCIContext::AcceleratedCIContext()
{
    const AutoreleasePool pool;
    mCGLPixelFormat = sCreateOffscreenAcceleratedPixelFormat();
    (void)CFRequiredNotCFNull(mCGLPixelFormat, "mCGLPixelFormat = sCreateOffscreenAcceleratedPixelFormat()");
    (void)CGLErrorRequired(CGLCreateContext(mCGLPixelFormat, nullptr, &mCGLContextObj),
        "CGLCreateContext(mCGLPixelFormat,__null,&mCGLContextObj)");
    (void)CFRequiredNotCFNull(mCGLContextObj, "mCGLContextObj");
    mColorSpace = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    (void)CFRequiredTypeOf(
        mColorSpace, CGColorSpaceGetTypeID(), "mColorSpace = CGColorSpaceCreateWithName(kCGColorSpaceSRGB)");
    mCIContext = copyCIContextWithCGLContext(mCGLContextObj, mCGLPixelFormat, mColorSpace);
}

AcceleratedCIContext::~AcceleratedCIContext()
{
    CGLDestroyPixelFormat(std::exchange(mCGLPixelFormat, nullptr));
    CGLDestroyContext(std::exchange(mCGLContextObj, nullptr));
    CGColorSpaceRelease(std::exchange(mColorSpace, nullptr));
}

CFDictionary* AcceleratedCIContext::CIContextOptionsDictionary()
{
    return autorelease(CFDictionary::create({ { kCIContextCacheIntermediates, kCFBooleanFalse } }));
}

bool AcceleratedCIContext::IsValid() const
{
    return CFRequiredNotCFNull(mCGLPixelFormat, "mCGLPixelFormat")
        && CFRequiredNotCFNull(mCGLContextObj, "mCGLContextObj")
        && CFRequiredTypeOf(mColorSpace, CGColorSpaceGetTypeID(), "mColorSpace") && mCIContext;
}

}
