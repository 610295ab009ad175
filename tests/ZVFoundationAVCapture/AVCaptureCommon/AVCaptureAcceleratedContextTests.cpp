#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/WithRequirements/LoggedChecks.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
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

}

class AcceleratedContext : public testing::Test {
protected:
    void TearDown() override { FailPoint::disarmAll(); }
    const AutoreleasePool pool;
};

TEST_F(AcceleratedContext, WithoutADelegateNothingIsMade)
{
    const auto context = make<AVCaptureAcceleratedContext>();
    EXPECT_EQ(context->lazyDelegate(), nullptr);
    EXPECT_EQ(context->rendererCIContext(), nullptr);
    context->awakeFromNib();
    EXPECT_EQ(context->rendererCIContext(), nullptr);
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
    EXPECT_EQ(reports(log.text(),
                  "SRC>>[lazyDelegate respondsToSelector:@selector(constructRendererWithAcceleratedContext:)]"),
        2);
}

TEST_F(AcceleratedContext, WithoutASpaceOrAFormatThereIsNoImageContext)
{
    const auto delegate = make<ContextDelegate>();
    {
        StandardErrorCapture log;
        const FailPoint::Scope fails("CGColorSpaceCreateWithName");
        const auto context = make<AVCaptureAcceleratedContext>();
        context->setDelegate(delegate);
        EXPECT_EQ(context->lazyDelegate(), delegate);
        EXPECT_EQ(reports(log.text(), "self.rendererColorSpace"), 2);
    }
    {
        StandardErrorCapture log;
        const FailPoint::Scope fails("NSOpenGLPixelFormat.initWithAttributes:");
        const auto context = make<AVCaptureAcceleratedContext>();
        context->setDelegate(delegate);
        context->awakeFromNib();
        EXPECT_EQ(context->openGLPixelFormat(), nullptr);
        EXPECT_EQ(context->openGLContext(), nullptr);
        EXPECT_EQ(context->lazyDelegate(), delegate);
        EXPECT_EQ(context->CIContextWithCGLContext(nullptr), nullptr);
        EXPECT_EQ(reports(log.text(), "CGLContextObj"), 1);
    }
    EXPECT_EQ(delegate->asked, 0);
}

TEST_F(AcceleratedContext, NothingIsCachedBetweenRenders)
{
    auto* const options = AVCaptureAcceleratedContext::CIContextOptionsDictionary();
    EXPECT_EQ(options->count(), 1U);
    EXPECT_EQ(options->objectForKey(kCIContextCacheIntermediates), kCFBooleanFalse);
}
