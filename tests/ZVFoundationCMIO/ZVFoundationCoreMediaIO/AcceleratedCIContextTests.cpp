#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/ZVFoundationCMIO/ZVFoundationCoreMediaIO/AcceleratedContextLines.h"
#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/AcceleratedCIContext.h"

#include <gtest/gtest.h>

using ZVCMIO::AcceleratedCIContext;
using namespace AcceleratedContextLines;

TEST(AcceleratedCIContext, IsCompleteFromTheStart)
{
    const AutoreleasePool pool;
    StandardErrorCapture log;
    const AcceleratedCIContext context;
    EXPECT_TRUE(context.IsValid());
    EXPECT_NE(context.rendererCIContext(), nullptr);
    EXPECT_NE(context.rendererColorSpace(), nullptr);
    EXPECT_EQ(log.text(), "");
    EXPECT_TRUE(CFEqual(AcceleratedCIContext::CIContextOptionsDictionary(),
        CFDictionary::create({ { kCIContextCacheIntermediates, kCFBooleanFalse } }).get()));
}

TEST(AcceleratedCIContext, WithoutOpenGLEachStepThatFailsHasItsLineAndTheNextIsTried)
{
    const AutoreleasePool pool;
    const FailPoint::Scope none("GLContextCreate");
    StandardErrorCapture log;
    const AcceleratedCIContext context;
    EXPECT_EQ(linesOf(log), withoutOpenGL());
    EXPECT_EQ(context.rendererCIContext(), nullptr);
    EXPECT_TRUE(context.rendererColorSpace());
    StandardErrorCapture later;
    EXPECT_FALSE(context.IsValid());
    EXPECT_EQ(linesOf(later), whole.notNull("mCGLPixelFormat", "IsValid"));
}

TEST(AcceleratedCIContext, AFormatThatTheDriverRefusesIsNamedWithItsReason)
{
    const AutoreleasePool pool;
    for (const auto& [error, text] :
        { std::pair { 10000, "kCGLBadAttribute (10000)" }, std::pair { 10018, "statusValue=10018" } }) {
        const FailPoint::Scope fails("CGLChoosePixelFormat", error);
        StandardErrorCapture log;
        const AcceleratedCIContext context;
        EXPECT_EQ(linesOf(log), withoutOpenGL(std::to_string(error) + ":" + text));
        StandardErrorCapture later;
        EXPECT_FALSE(context.IsValid());
        EXPECT_EQ(linesOf(later), whole.notNull("mCGLPixelFormat", "IsValid"));
    }
}

TEST(AcceleratedCIContext, WithoutAContextOfOpenGLThereIsNoneForImages)
{
    const AutoreleasePool pool;
    const FailPoint::Scope fails("CGLCreateContext", kCGLBadAlloc);
    StandardErrorCapture log;
    const AcceleratedCIContext context;
    EXPECT_EQ(linesOf(log), withoutContext("10016:kCGLBadAlloc (10016)"));
    EXPECT_EQ(context.rendererCIContext(), nullptr);
    StandardErrorCapture later;
    EXPECT_FALSE(context.IsValid());
    EXPECT_EQ(linesOf(later), whole.notNull("mCGLContextObj", "IsValid"));
}

TEST(AcceleratedCIContext, WithoutASpaceThereIsNoContextForImages)
{
    const AutoreleasePool pool;
    const FailPoint::Scope fails("CGColorSpaceCreateWithName");
    StandardErrorCapture log;
    const AcceleratedCIContext context;
    EXPECT_EQ(linesOf(log),
        whole.type("mColorSpace = CGColorSpaceCreateWithName(kCGColorSpaceSRGB)", "AcceleratedCIContext")
            + whole.type("inColorSpaceRef", "copyCIContextWithCGLContext"));
    EXPECT_EQ(context.rendererCIContext(), nullptr);
    StandardErrorCapture later;
    EXPECT_FALSE(context.IsValid());
    EXPECT_EQ(linesOf(later), whole.type("mColorSpace", "IsValid"));
}

TEST(AcceleratedCIContext, WithNothingAtAllTheConstructorCompletes)
{
    const AutoreleasePool pool;
    const FailPoint::Scope noOpenGL("GLContextCreate");
    const FailPoint::Scope noSpace("CGColorSpaceCreateWithName");
    StandardErrorCapture log;
    const AcceleratedCIContext context;
    EXPECT_EQ(linesOf(log),
        withoutOpenGL("10002:kCGLBadPixelFormat (10002)",
            whole.type("mColorSpace = CGColorSpaceCreateWithName(kCGColorSpaceSRGB)", "AcceleratedCIContext")));
    StandardErrorCapture later;
    EXPECT_FALSE(context.IsValid());
    EXPECT_EQ(linesOf(later), whole.notNull("mCGLPixelFormat", "IsValid"));
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
