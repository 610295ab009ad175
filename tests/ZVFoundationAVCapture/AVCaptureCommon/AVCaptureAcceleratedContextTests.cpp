#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/WithRequirements/WholeLines.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"

#include <gtest/gtest.h>

namespace {

class ContextDelegate : public NSObject, public AVCaptureAcceleratedContextDelegate {
    NS_OBJECT(ContextDelegate)
public:
    ContextDelegate() = default;
    bool constructRendererWithAcceleratedContext(AVCaptureAcceleratedContextProtocol* context) override
    {
        ++asked;
        hadImageContext = context->rendererCIContext() != nullptr;
        return answer;
    }
    int asked = 0;
    bool hadImageContext = false;
    bool answer = true;
};

NS_IMPLEMENTATION(ContextDelegate, NSObject)
{
    type.message("constructRendererWithAcceleratedContext:", &ContextDelegate::constructRendererWithAcceleratedContext);
}

class OtherDelegate : public NSObject {
    NS_OBJECT(OtherDelegate)
public:
    OtherDelegate() = default;
};

NS_IMPLEMENTATION(OtherDelegate, NSObject) { }

const WholeLines whole("AVCaptureAcceleratedContext.cpp");

}

class AcceleratedContext : public testing::Test {
protected:
    void TearDown() override { FailPoint::disarmAll(); }
    const AutoreleasePool pool;
};

TEST_F(AcceleratedContext, WithoutADelegateNothingIsMade)
{
    StandardErrorCapture log;
    const auto context = make<AVCaptureAcceleratedContext>();
    EXPECT_EQ(context->lazyDelegate(), nullptr);
    EXPECT_EQ(context->rendererCIContext(), nullptr);
    context->awakeFromNib();
    EXPECT_EQ(context->rendererCIContext(), nullptr);
    EXPECT_TRUE(kindOf<CGColorSpace>(context->rendererColorSpace()));
    EXPECT_TRUE(context->openGLContext());
    EXPECT_EQ(log.text(), "");
}

TEST_F(AcceleratedContext, AnswersWhatItMustAndNotWhatItMay)
{
    const auto context = make<AVCaptureAcceleratedContext>();
    for (const char* const message : { "rendererColorSpace", "rendererCIContext", "delegate", "setDelegate:" })
        EXPECT_TRUE(context->respondsToSelector(message)) << message;
    for (const char* const message : { "rendererGLContext", "rendererGLPixelFormat" })
        EXPECT_FALSE(context->respondsToSelector(message)) << message;
}

TEST_F(AcceleratedContext, TheDelegateIsToldOnceOfAContextThatExists)
{
    const auto context = make<AVCaptureAcceleratedContext>();
    const auto delegate = make<ContextDelegate>();
    context->setDelegate(delegate);
    context->awakeFromNib();
    EXPECT_EQ(delegate->asked, 1);
    EXPECT_TRUE(delegate->hadImageContext);
    EXPECT_TRUE(context->delegateConstructed());
    const Ref<CIContext> made(context->rendererCIContext());
    EXPECT_EQ(context->lazyDelegate(), delegate);
    EXPECT_EQ(delegate->asked, 1);
    EXPECT_EQ(context->rendererCIContext(), made);
}

TEST_F(AcceleratedContext, ADelegateThatIsNotDoneIsAskedAgain)
{
    const auto context = make<AVCaptureAcceleratedContext>();
    const auto delegate = make<ContextDelegate>();
    delegate->answer = false;
    context->setDelegate(delegate);
    context->lazyDelegate();
    context->lazyDelegate();
    EXPECT_EQ(delegate->asked, 2);
    delegate->answer = true;
    context->lazyDelegate();
    context->lazyDelegate();
    EXPECT_EQ(delegate->asked, 3);
}

TEST_F(AcceleratedContext, ADelegateWithoutTheCallIsReportedEachTime)
{
    const auto context = make<AVCaptureAcceleratedContext>();
    const auto delegate = make<OtherDelegate>();
    context->setDelegate(delegate);
    StandardErrorCapture log;
    EXPECT_EQ(context->lazyDelegate(), delegate);
    context->lazyDelegate();
    const auto line = whole.condition(
        "[lazyDelegate respondsToSelector:@selector(constructRendererWithAcceleratedContext:)]", "lazyDelegate");
    EXPECT_EQ(linesOf(log), line + line);
    EXPECT_TRUE(context->rendererCIContext());
    EXPECT_FALSE(context->delegateConstructed());
}

TEST_F(AcceleratedContext, WithoutASpaceEachNeedOfTheImageContextSaysSo)
{
    const FailPoint::Scope fails("CGColorSpaceCreateWithName");
    const auto delegate = make<ContextDelegate>();
    StandardErrorCapture log;
    const auto context = make<AVCaptureAcceleratedContext>();
    context->setDelegate(delegate);
    EXPECT_EQ(context->lazyDelegate(), delegate);
    context->awakeFromNib();
    EXPECT_EQ(linesOf(log),
        whole.type("self.rendererColorSpace", "init") + whole.type("self.rendererColorSpace", "lazyDelegate")
            + whole.type("self.rendererColorSpace", "lazyDelegate"));
    EXPECT_EQ(context->rendererCIContext(), nullptr);
    EXPECT_EQ(delegate->asked, 0);
}

TEST_F(AcceleratedContext, WithoutAFormatOrAContextNothingIsMadeAndNothingSaid)
{
    const auto delegate = make<ContextDelegate>();
    for (const char* const point :
        { "NSOpenGLPixelFormat.initWithAttributes:", "CGLChoosePixelFormat", "CGLCreateContext", "GLContextCreate" }) {
        const FailPoint::Scope fails(point);
        StandardErrorCapture log;
        const auto context = make<AVCaptureAcceleratedContext>();
        context->setDelegate(delegate);
        context->awakeFromNib();
        EXPECT_EQ(context->openGLPixelFormat() != nullptr, std::string_view(point) == "CGLCreateContext") << point;
        EXPECT_EQ(context->openGLContext(), nullptr) << point;
        EXPECT_EQ(context->lazyDelegate(), delegate) << point;
        EXPECT_EQ(context->rendererCIContext(), nullptr) << point;
        EXPECT_EQ(log.text(), "") << point;
    }
    EXPECT_EQ(delegate->asked, 0);
}

TEST_F(AcceleratedContext, NoImageContextIsMadeOfNothing)
{
    const auto context = make<AVCaptureAcceleratedContext>();
    StandardErrorCapture log;
    EXPECT_EQ(context->CIContextWithCGLContext(nullptr), nullptr);
    EXPECT_EQ(linesOf(log), whole.notNull("CGLContextObj", "CIContextWithCGLContext"));
}

TEST_F(AcceleratedContext, AnImageContextThatTheHostDoesNotMakeIsTriedAgainWithoutALine)
{
    const auto context = make<AVCaptureAcceleratedContext>();
    const auto delegate = make<ContextDelegate>();
    context->setDelegate(delegate);
    StandardErrorCapture log;
    {
        const FailPoint::Scope none("CIContext.contextWithCGLContext:pixelFormat:colorSpace:options:");
        EXPECT_EQ(context->lazyDelegate(), delegate);
        EXPECT_EQ(context->rendererCIContext(), nullptr);
        EXPECT_EQ(delegate->asked, 0);
    }
    context->lazyDelegate();
    EXPECT_EQ(delegate->asked, 1);
    EXPECT_TRUE(delegate->hadImageContext);
    EXPECT_EQ(log.text(), "");
}

TEST_F(AcceleratedContext, NothingIsCachedBetweenRenders)
{
    EXPECT_TRUE(CFEqual(AVCaptureAcceleratedContext::CIContextOptionsDictionary(),
        CFDictionary::create({ { kCIContextCacheIntermediates, kCFBooleanFalse } }).get()));
}
