#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureViewWithAcceleratedContext.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/OpenGL/GLNames.h"
#include "tests/WithRequirements/WholeLines.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturePixelBufferRenderer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

namespace {

/// Notes what it is asked, in order, and draws the lower half green over red.
class DrawingDelegate : public NSObject, public AVCaptureViewWithAcceleratedContextDelegate {
    NS_OBJECT(DrawingDelegate)
public:
    bool constructRendererWithAcceleratedContext(AVCaptureAcceleratedContextProtocol* context) override
    {
        calls.emplace_back("constructRendererWithAcceleratedContext:");
        hadImageContext = context->rendererCIContext() != nullptr;
        return answer;
    }
    void renderWithBounds(CGRect bounds) override
    {
        calls.emplace_back("renderWithBounds:");
        drawn = bounds;
        contextWhileDrawing = CGLGetCurrentContext();
        glClearColor(1, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, static_cast<GLsizei>(bounds.size.width), static_cast<GLsizei>(bounds.size.height / 2));
        glClearColor(0, 1, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glDisable(GL_SCISSOR_TEST);
        if (loses)
            FailPoint::arm("GLContextLost", 0, 0, 1);
        loses = false;
    }
    std::vector<std::string> calls;
    CGRect drawn;
    CGLContextObj contextWhileDrawing = nullptr;
    bool hadImageContext = false;
    bool answer = true;
    bool loses = false;
};
NS_IMPLEMENTATION(DrawingDelegate, NSObject)
{
    type.message("constructRendererWithAcceleratedContext:", &DrawingDelegate::constructRendererWithAcceleratedContext);
    type.message("renderWithBounds:", &DrawingDelegate::renderWithBounds);
}

/// Answers the second choice alone.
class ViewDelegate : public NSObject, public AVCaptureViewWithAcceleratedContextDelegate {
    NS_OBJECT(ViewDelegate)
public:
    bool constructRendererWithAcceleratedContextView(AVCaptureViewWithAcceleratedContext* view) override
    {
        askedBy = view;
        ++asked;
        return true;
    }
    AVCaptureViewWithAcceleratedContext* askedBy = nullptr;
    int asked = 0;
};
NS_IMPLEMENTATION(ViewDelegate, NSObject)
{
    type.message(
        "constructRendererWithAcceleratedContextView:", &ViewDelegate::constructRendererWithAcceleratedContextView);
}

class SilentDelegate : public NSObject {
    NS_OBJECT(SilentDelegate)
};
NS_IMPLEMENTATION(SilentDelegate, NSObject) { }

/// A screen with two pixels to a point.
class FineScreen : public NSViewHost {
public:
    void viewNeedsDisplay() override { }
    void viewLayerChanged() override { }
    void viewVisibilityChanged() override { }
    void viewToolTipChanged() override { }
    void viewFrameRequested(NSRect /*frame*/) override { }
    NSWindow* viewWindow() override { return nullptr; }
    NSPoint viewPointFromWindow(NSPoint point) override { return point; }
    CGFloat viewBackingScale() override { return 2; }
    void viewWillDraw() override { ++drawings; }
    int drawings = 0;
};

std::uint32_t pixelAt(CVPixelBuffer& picture, std::size_t x, std::size_t y)
{
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, picture.baseAddress() + y * picture.bytesPerRow() + 4 * x, sizeof pixel);
    return pixel;
}

constexpr std::uint32_t red = 0xffff0000;
constexpr std::uint32_t green = 0xff00ff00;

/// Whether every pixel is as `DrawingDelegate` draws it.
void expectDrawn(CALayer* layer, std::size_t width, std::size_t height)
{
    const auto picture = layer->copyPixelBufferForDisplay();
    ASSERT_TRUE(picture);
    ASSERT_EQ(picture->width(), width);
    ASSERT_EQ(picture->height(), height);
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x)
            ASSERT_EQ(pixelAt(*picture, x, y), y < height - height / 2 ? red : green) << x << ", " << y;
}

const WholeLines whole("AVCaptureViewWithAcceleratedContext.cpp");

class ViewWithAcceleratedContext : public testing::Test {
protected:
    void TearDown() override
    {
        FailPoint::disarmAll();
        DispatchMain::drain();
    }
    /// That a view makes no image context for its delegate, which is not told of one, and logs \p lines.
    void expectNoImageContext(const std::string& lines)
    {
        const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 4, 4));
        view->setDelegate(delegate);
        StandardErrorCapture log;
        EXPECT_EQ(view->lazyDelegate(), delegate);
        EXPECT_EQ(linesOf(log), lines);
        EXPECT_EQ(view->rendererCIContext(), nullptr);
        EXPECT_THAT(delegate->calls, testing::IsEmpty());
    }
    const AutoreleasePool pool;
    const Ref<DrawingDelegate> delegate = make<DrawingDelegate>();
};

}

TEST_F(ViewWithAcceleratedContext, ItsFormatIsTheFirstChoiceAndStandsInBothPlaces)
{
    StandardErrorCapture log;
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(1, 2, 30, 20));
    EXPECT_EQ(log.text(), "");
    ASSERT_TRUE(view->pixelFormat());
    EXPECT_EQ(view->openGLPixelFormat(), view->pixelFormat());
    EXPECT_EQ(view->rendererGLPixelFormat(), view->pixelFormat());
    const auto& properties = view->pixelFormat()->CGLPixelFormatObj()->properties();
    EXPECT_TRUE(properties.isDoubleBuffered);
    EXPECT_EQ(properties.colorSize, 24);
    EXPECT_EQ(properties.alphaSize, 8);
    EXPECT_EQ(properties.depthSize, 16);
    EXPECT_EQ(properties.samples, 4);
    EXPECT_EQ(view->frame(), NSMakeRect(1, 2, 30, 20));
    EXPECT_EQ(view->rendererColorSpace(), nullptr);
    EXPECT_EQ(view->rendererCIContext(), nullptr);
    EXPECT_FALSE(view->delegateConstructed());
}

TEST_F(ViewWithAcceleratedContext, WithoutSuchAFormatEachViewSaysSoOnceAndTakesThePlainOne)
{
    StandardErrorCapture log;
    for (int index = 0; index < 2; ++index) {
        const FailPoint::Scope first("NSOpenGLPixelFormat.initWithAttributes:", -1, 0, 1);
        const auto view = make<AVCaptureViewWithAcceleratedContext>(NSRect {});
        ASSERT_TRUE(view->pixelFormat());
        EXPECT_EQ(view->pixelFormat()->CGLPixelFormatObj()->properties().samples, 0);
        EXPECT_EQ(view->pixelFormat()->CGLPixelFormatObj()->properties().depthSize, 16);
    }
    EXPECT_EQ(withoutNSLogPrefixes(log.text()),
        "Couldn't find an FSAA pixel format, trying something more basic\n"
        "Couldn't find an FSAA pixel format, trying something more basic\n");
}

TEST_F(ViewWithAcceleratedContext, WithoutAnyFormatItDrawsNothing)
{
    const FailPoint::Scope fails("NSOpenGLPixelFormat.initWithAttributes:");
    StandardErrorCapture log;
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 30, 20));
    EXPECT_EQ(view->pixelFormat(), nullptr);
    EXPECT_EQ(view->openGLPixelFormat(), nullptr);
    EXPECT_EQ(view->openGLContext(), nullptr);
    EXPECT_EQ(view->rendererGLContext(), nullptr);
    view->setDelegate(delegate);
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    view->prepareOpenGL();
    EXPECT_THAT(delegate->calls, testing::IsEmpty());
    EXPECT_EQ(view->layer()->contents(), nullptr);
    EXPECT_EQ(withoutNSLogPrefixes(log.text()), "Couldn't find an FSAA pixel format, trying something more basic\n");
}

TEST_F(ViewWithAcceleratedContext, WithoutADelegateNothingIsMadeAndAnEmptyPictureShows)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 6, 4));
    EXPECT_EQ(view->lazyDelegate(), nullptr);
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    EXPECT_EQ(view->rendererCIContext(), nullptr);
    EXPECT_EQ(view->colorSpace(), nullptr);
    const auto picture = view->layer()->copyPixelBufferForDisplay();
    ASSERT_TRUE(picture);
    EXPECT_EQ(pixelAt(*picture, 5, 3), 0U);
}

TEST_F(ViewWithAcceleratedContext, DrawsThroughItsDelegateInTheOrderOfTheCalls)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(5, 5, 7, 5));
    view->setDelegate(delegate);
    view->setNeedsDisplay(true);
    view->setNeedsDisplay(true);
    EXPECT_THAT(delegate->calls, testing::IsEmpty());
    DispatchMain::drain();
    EXPECT_THAT(delegate->calls, testing::ElementsAre("constructRendererWithAcceleratedContext:", "renderWithBounds:"));
    EXPECT_TRUE(delegate->hadImageContext);
    EXPECT_TRUE(view->delegateConstructed());
    EXPECT_TRUE(kindOf<CGColorSpace>(view->rendererColorSpace()));
    EXPECT_EQ(delegate->drawn, NSMakeRect(0, 0, 7, 5));
    EXPECT_EQ(delegate->contextWhileDrawing, view->openGLContext()->CGLContextObj());
    EXPECT_EQ(CGLGetCurrentContext(), nullptr) << "the thread has back what it had";
    expectDrawn(view->layer(), 7, 5);
    EXPECT_TRUE(view->wantsBestResolutionOpenGLSurface());
    EXPECT_TRUE(view->wantsExtendedDynamicRangeOpenGLSurface());
    std::int32_t interval = 0;
    view->openGLContext()->getValues_forParameter(&interval, 222);
    EXPECT_EQ(interval, 1);
    // Being prepared, it asked to be drawn once more.
    DispatchMain::drain();
    EXPECT_EQ(delegate->calls.size(), 3U);
    const Ref<CIContext> made(view->rendererCIContext());
    view->setFrameSize({ 4, 4 });
    DispatchMain::drain();
    EXPECT_EQ(delegate->calls.size(), 4U);
    EXPECT_EQ(view->rendererCIContext(), made);
    expectDrawn(view->layer(), 4, 4);
    DispatchMain::drain();
    EXPECT_EQ(delegate->calls.size(), 4U) << "nothing asked for more";
}

TEST_F(ViewWithAcceleratedContext, DrawsInPixelsOfTheScreen)
{
    FineScreen screen;
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 7, 5));
    view->setHost(&screen);
    view->setDelegate(delegate);
    view->viewDidMoveToWindow();
    DispatchMain::drain();
    EXPECT_EQ(screen.drawings, 1);
    EXPECT_EQ(delegate->drawn, NSMakeRect(0, 0, 14, 10));
    EXPECT_EQ(view->convertRectToBacking(NSMakeRect(1, 2, 3, 4)), NSMakeRect(2, 4, 6, 8));
    expectDrawn(view->layer(), 14, 10);
    view->setHost(nullptr);
    view->viewDidChangeBackingProperties();
    DispatchMain::drain();
    expectDrawn(view->layer(), 7, 5);
}

TEST_F(ViewWithAcceleratedContext, AsksADelegateWithTheSecondCallOnly)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 4, 4));
    const auto second = make<ViewDelegate>();
    view->setDelegate(second);
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    DispatchMain::drain();
    EXPECT_EQ(second->asked, 1);
    EXPECT_EQ(second->askedBy, view);
    EXPECT_TRUE(view->delegateConstructed());
}

TEST_F(ViewWithAcceleratedContext, ADelegateWithNeitherCallIsNoMistake)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 4, 4));
    const auto silent = make<SilentDelegate>();
    view->setDelegate(silent);
    StandardErrorCapture log;
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    EXPECT_EQ(log.text(), "");
    EXPECT_TRUE(view->rendererCIContext());
    EXPECT_FALSE(view->delegateConstructed());
}

TEST_F(ViewWithAcceleratedContext, ADelegateThatIsNotDoneIsAskedAgain)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 4, 4));
    delegate->answer = false;
    view->setDelegate(delegate);
    CGLSetCurrentContext(view->openGLContext()->CGLContextObj());
    EXPECT_EQ(view->lazyDelegate(), delegate);
    view->lazyDelegate();
    EXPECT_EQ(delegate->calls.size(), 2U);
    delegate->answer = true;
    view->lazyDelegate();
    view->lazyDelegate();
    EXPECT_EQ(delegate->calls.size(), 3U);
    CGLSetCurrentContext(nullptr);
}

TEST_F(ViewWithAcceleratedContext, ARendererTakesTheViewsImageContext)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 4, 4));
    const auto renderer = make<AVCapturePixelBufferRenderer>(CGSize { 8, 8 }, kCVPixelFormatType_32BGRA);
    view->setDelegate(renderer);
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    ASSERT_TRUE(view->rendererCIContext());
    EXPECT_EQ(renderer->rendererCIContext(), view->rendererCIContext());
    EXPECT_EQ(renderer->rendererColorSpace(), view->rendererColorSpace());
}

TEST_F(ViewWithAcceleratedContext, WithoutACurrentContextThereIsNoImageContext)
{
    expectNoImageContext(whole.notNull("cglContext", "defaultCIContextWithColorSpace"));
}

TEST_F(ViewWithAcceleratedContext, WithoutASpaceThereIsNoImageContext)
{
    Ref<CGLPixelFormat> format;
    const CGLPixelFormatAttribute attributes[] { kCGLPFAAccelerated, 0 };
    ASSERT_EQ(CGLChoosePixelFormat(attributes, &format, nullptr), kCGLNoError);
    Ref<CGLContext> current;
    ASSERT_EQ(CGLCreateContext(format, nullptr, &current), kCGLNoError);
    CGLSetCurrentContext(current);
    const FailPoint::Scope fails("CGColorSpaceCreateDeviceRGB");
    expectNoImageContext(whole.type("self.rendererColorSpace", "lazyDelegate"));
    CGLSetCurrentContext(nullptr);
}

TEST_F(ViewWithAcceleratedContext, AContextThatTheDriverRefusesDrawsNothing)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 4, 4));
    view->setDelegate(delegate);
    {
        const FailPoint::Scope fails("GLContextMakeCurrent");
        view->setNeedsDisplay(true);
        DispatchMain::drain();
        EXPECT_THAT(delegate->calls, testing::IsEmpty());
        EXPECT_EQ(view->layer()->contents(), nullptr);
    }
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    expectDrawn(view->layer(), 4, 4);
}

TEST_F(ViewWithAcceleratedContext, APictureThatCannotBeHadLeavesTheOneBefore)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 4, 4));
    view->setDelegate(delegate);
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    DispatchMain::drain();
    const Ref<CFType> before(view->layer()->contents());
    for (const char* const point : { "NSOpenGLContext.flushBuffer", "CVPixelBufferPoolCreatePixelBuffer" }) {
        const FailPoint::Scope fails(point);
        view->setNeedsDisplay(true);
        DispatchMain::drain();
        EXPECT_EQ(view->layer()->contents(), before.get()) << point;
    }
}

TEST_F(ViewWithAcceleratedContext, SurvivesAContextThatIsLostBetweenDrawings)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 6, 4));
    view->setDelegate(delegate);
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    DispatchMain::drain();
    view->layer()->setContents(nullptr);
    FailPoint::arm("GLContextLost", 0, 0, 1);
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    EXPECT_GT(FailPoint::passes("GLContextLost"), 0U);
    expectDrawn(view->layer(), 6, 4);
    EXPECT_TRUE(view->delegateConstructed());
    EXPECT_EQ(std::ranges::count(delegate->calls, "constructRendererWithAcceleratedContext:"), 1);
}

TEST_F(ViewWithAcceleratedContext, DrawsAgainWhenTheContextIsLostWhileItDraws)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 6, 4));
    view->setDelegate(delegate);
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    DispatchMain::drain();
    view->layer()->setContents(nullptr);
    delegate->loses = true;
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    EXPECT_EQ(view->layer()->contents(), nullptr) << "what was being drawn is lost";
    DispatchMain::drain();
    expectDrawn(view->layer(), 6, 4);
}

TEST_F(ViewWithAcceleratedContext, MayGoWhileItWaitsToBeDrawn)
{
    auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 6, 4));
    view->setDelegate(delegate);
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    view->setNeedsDisplay(true);
    const WeakRef<AVCaptureViewWithAcceleratedContext> watched(view);
    view = nullptr;
    EXPECT_FALSE(watched.strongReference());
    const auto drawings = delegate->calls.size();
    DispatchMain::drain();
    EXPECT_EQ(delegate->calls.size(), drawings);
}

TEST_F(ViewWithAcceleratedContext, AnImageContextThatTheHostDoesNotMakeIsTriedAgainWithoutALine)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 6, 4));
    view->setDelegate(delegate);
    StandardErrorCapture log;
    {
        const FailPoint::Scope none("CIContext.contextWithCGLContext:pixelFormat:colorSpace:options:");
        view->setNeedsDisplay(true);
        DispatchMain::drain();
        EXPECT_EQ(view->rendererCIContext(), nullptr);
        // The delegate draws all the same, with OpenGL.
        EXPECT_THAT(delegate->calls, testing::Each("renderWithBounds:"));
    }
    delegate->calls.clear();
    view->setNeedsDisplay(true);
    DispatchMain::drain();
    EXPECT_THAT(delegate->calls, testing::ElementsAre("constructRendererWithAcceleratedContext:", "renderWithBounds:"));
    EXPECT_EQ(log.text(), "");
}

TEST_F(ViewWithAcceleratedContext, AnswersAllOfTheContextsMessages)
{
    const auto view = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 6, 4));
    for (const char* const message : { "rendererColorSpace", "rendererCIContext", "rendererGLContext",
             "rendererGLPixelFormat", "delegate", "setDelegate:" })
        EXPECT_TRUE(view->respondsToSelector(message)) << message;
    EXPECT_EQ(view->rendererGLContext(), view->openGLContext());
    EXPECT_EQ(view->rendererGLPixelFormat(), view->pixelFormat());
    view->setColorSpace(CGColorSpaceCreateDeviceRGB().get());
    EXPECT_EQ(view->rendererColorSpace(), view->colorSpace());
}

TEST_F(ViewWithAcceleratedContext, NothingIsCachedBetweenRenders)
{
    auto* const options = AVCaptureViewWithAcceleratedContext::CIContextOptionsDictionary();
    EXPECT_EQ(options->count(), 1U);
    EXPECT_EQ(options->objectForKey(kCIContextCacheIntermediates), kCFBooleanFalse);
}
