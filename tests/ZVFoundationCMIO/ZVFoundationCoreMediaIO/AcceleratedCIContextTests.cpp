#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/WithRequirements/LoggedChecks.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/AcceleratedCIContext.h"

#include <algorithm>
#include <gtest/gtest.h>

using ZVCMIO::AcceleratedCIContext;

TEST(AcceleratedCIContext, IsCompleteFromTheStart)
{
    const AutoreleasePool pool;
    StandardErrorCapture log;
    const AcceleratedCIContext context;
    EXPECT_TRUE(context.IsValid());
    EXPECT_NE(context.rendererCIContext(), nullptr);
    EXPECT_NE(context.rendererColorSpace(), nullptr);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(AcceleratedCIContext::CIContextOptionsDictionary()->objectForKey(kCIContextCacheIntermediates),
        kCFBooleanFalse);
}

TEST(AcceleratedCIContext, WithoutOpenGLEachStepThatFailsHasItsLine)
{
    const AutoreleasePool pool;
    const FailPoint::Scope none("GLContextCreate");
    StandardErrorCapture log;
    const AcceleratedCIContext context;
    const auto text = log.text();
    EXPECT_EQ(context.rendererCIContext(), nullptr);
    EXPECT_NE(text.find("kCGLBadPixelFormat"), std::string::npos);
    EXPECT_NE(text.find(" in sCreateOffscreenAcceleratedPixelFormat:"), std::string::npos);
    for (const char* source :
        { "SRC>>CGLChoosePixelFormat(kCGLPixelFormatAttributes, &pixelFormatObj, &numberOfPixelFormats)",
            "mCGLPixelFormat = sCreateOffscreenAcceleratedPixelFormat()",
            "SRC>>CGLCreateContext(mCGLPixelFormat,__null,&mCGLContextObj)", "mCGLContextObj", "inCGLContextObj" })
        EXPECT_NE(text.find(source), std::string::npos) << source;
    StandardErrorCapture later;
    EXPECT_FALSE(context.IsValid());
    EXPECT_EQ(reports(later.text(), "mCGLPixelFormat"), 1);
}

TEST(AcceleratedCIContext, WithoutASpaceItIsInvalid)
{
    const AutoreleasePool pool;
    const FailPoint::Scope none("CGColorSpaceCreateWithName");
    StandardErrorCapture log;
    const AcceleratedCIContext context;
    EXPECT_FALSE(context.IsValid());
    const auto text = log.text();
    for (const char* source :
        { "mColorSpace = CGColorSpaceCreateWithName(kCGColorSpaceSRGB)", "inColorSpaceRef", "mColorSpace" })
        EXPECT_NE(text.find(source), std::string::npos) << source;
}

TEST(AcceleratedCIContext, AMissingImageContextAloneIsInvalidWithoutALine)
{
    const AutoreleasePool pool;
    const FailPoint::Scope none("CIContext.contextWithCGLContext:pixelFormat:colorSpace:options:");
    StandardErrorCapture log;
    const AcceleratedCIContext context;
    EXPECT_FALSE(context.IsValid());
    EXPECT_EQ(log.text(), "");
}
