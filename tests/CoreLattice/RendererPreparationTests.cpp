#include "CoreLattice/RenderThread.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreGraphics/CGImage.h"
#include "Platform/Foundation/NSNotification.h"
#include "tests/CoreLattice/Pictures.h"
#include "tests/CoreLattice/ThreadGate.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>

using namespace Pictures;
using CoreLattice::RenderThread;

namespace {

#define HEADER "/*{ \"INPUTS\": [ { \"NAME\": \"inputImage\", \"TYPE\": \"image\" } ] }*/\n"

constexpr const char* half = R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" },
    { "NAME": "level", "TYPE": "float", "DEFAULT": 1.0 } ] }*/
    void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage) * level; })";
constexpr const char* green = HEADER "void main() { gl_FragColor = vec4(0.0, 1.0, 0.0, 1.0); }";

/// Adds a tenth of full red to what it kept at each render, and shows that beside a pass that is rendered once.
constexpr const char* keep = R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ],
    "PASSES": [ { "TARGET": "kept", "PERSISTENT": true }, { "TARGET": "still", "UNCHANGING": true }, { } ] }*/
    void main() {
        if (PASSINDEX == 0) gl_FragColor = IMG_THIS_PIXEL(kept) + vec4(0.1);
        else if (PASSINDEX == 1) gl_FragColor = vec4(0.0, 0.6, 0.0, 1.0);
        else gl_FragColor = vec4(IMG_THIS_PIXEL(kept).r, IMG_THIS_PIXEL(still).g, IMG_THIS_PIXEL(inputImage).b, 1.0);
    })";

/// A view that renders by itself and notes the first pixel of each picture.
class RunningView : public LTCView {
public:
    bool renderAtTime_arguments(double time, CFDictionary* arguments) override
    {
        const bool rendered = LTCView::renderAtTime_arguments(time, arguments);
        if (!rendered || !RenderThread::shared().isCurrent())
            return rendered;
        const auto picture = output(*this);
        const std::lock_guard lock(mLock);
        mPixels.push_back(pixelAt(*picture, 0, 0));
        mRendered.notify_all();
        return rendered;
    }
    /// Sets a picture of this colour and has the view render it.
    /// \return the first pixel of what was rendered last
    Pixel renderOnce(Pixel pixel)
    {
        setValue_forInputKey(plain(16, 8, pixel).get(), QCCompositionInputImageKey);
        setNeedsDisplay(true);
        // Behind the render.
        EXPECT_TRUE(RenderThread::shared().sync([] {}));
        const std::lock_guard lock(mLock);
        EXPECT_FALSE(mPixels.empty());
        return mPixels.empty() ? Pixel {} : mPixels.back();
    }
    bool waitFor(Pixel pixel)
    {
        std::unique_lock lock(mLock);
        return mRendered.wait_for(lock, patience, [&] { return !mPixels.empty() && mPixels.back() == pixel; });
    }
    std::vector<Pixel> pixels()
    {
        const std::lock_guard lock(mLock);
        return mPixels;
    }

private:
    static constexpr std::chrono::seconds patience { 30 };
    std::mutex mLock;
    std::condition_variable mRendered;
    std::vector<Pixel> mPixels;
};

class RendererPreparation : public testing::Test {
protected:
    void run(const char* source)
    {
        view->loadComposition(composition(source));
        view->startRendering();
        view->renderOnce({ 200, 100, 50 });
    }
    ~RendererPreparation() override { view->stopRendering(); }

    const AutoreleasePool pool;
    const Ref<RunningView> view = make<RunningView>();
};

}

TEST_F(RendererPreparation, TheFormerFilterGoesOnUntilTheNextOneIsCompiled)
{
    run(half);
    view->setValue_forInputKey(CFNumber::create(0.5).get(), CFSTR("level"));
    EXPECT_EQ(view->renderOnce({ 200, 100, 50 }), (Pixel { 100, 50, 25 }));
    ThreadGate gate(RenderThread::forNextFilters());
    view->loadComposition(composition(green));
    // With the values that it had and the pictures that come.
    EXPECT_EQ(view->renderOnce({ 200, 100, 50 }), (Pixel { 100, 50, 25 }));
    EXPECT_EQ(view->renderOnce({ 20, 40, 60 }), (Pixel { 10, 20, 30 }));
    EXPECT_EQ(view->inputKeys()->count(), 1U) << "the next one's inputs are there already";
    gate.open();
    EXPECT_TRUE(view->waitFor({ 0, 255, 0 })) << "it is shown although no picture has come";
}

TEST_F(RendererPreparation, WhoAsksForAPictureGetsThatOfTheLoadedComposition)
{
    run(half);
    const ThreadGate gate(RenderThread::forNextFilters());
    view->loadComposition(composition(green));
    const auto asked = view->valueForOutputKey_ofType(QCCompositionOutputImageKey, CFSTR("CGImage"));
    const auto* const image = kindOf<CGImage>(asked);
    ASSERT_TRUE(image);
    EXPECT_EQ(std::to_integer<int>(image->row(3)[3 * 4 + 1]), 255);
    EXPECT_EQ(std::to_integer<int>(image->row(3)[3 * 4 + 2]), 0);
    view->loadComposition(composition(half));
    EXPECT_EQ(pixelAt(*render(*view), 3, 3), (Pixel { 200, 100, 50 }));
}

TEST_F(RendererPreparation, TheLastOfSeveralIsShown)
{
    run(half);
    ThreadGate gate(RenderThread::forNextFilters());
    view->loadComposition(composition(green));
    view->renderOnce({ 200, 100, 50 });
    view->loadComposition(composition(HEADER "void main() { gl_FragColor = vec4(1.0, 0.0, 0.0, 1.0); }"));
    gate.open();
    EXPECT_TRUE(view->waitFor({ 255, 0, 0 }));
    EXPECT_THAT(view->pixels(), testing::Not(testing::Contains(Pixel { 0, 255, 0 })));
}

TEST_F(RendererPreparation, WhatIsPreparedBeginsAsIfItHadNeverBeenDrawn)
{
    run(half);
    view->loadComposition(composition(keep));
    const auto isPrepared = [](const Pixel& pixel) { return pixel[1] == 153; };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isPrepared(view->renderOnce({ 0, 0, 50 })) && std::chrono::steady_clock::now() < end) { }
    view->renderOnce({ 0, 0, 50 });
    const auto pixels = view->pixels();
    const auto first = std::ranges::find_if(pixels, isPrepared);
    ASSERT_GE(pixels.end() - first, 2);
    EXPECT_EQ(first[0], (Pixel { 26, 153, 50 }));
    EXPECT_EQ(first[1], (Pixel { 52, 153, 50 }));
}

TEST_F(RendererPreparation, OneThatCannotBeCompiledNeverInterruptsTheFormerOne)
{
    run(keep);
    std::string reason;
    const auto token = NSNotificationCenter::defaultCenter()->addObserverForName_object_queue_usingBlock(
        LTCViewDidRefuseCompositionNotification, view, nullptr, [&](NSNotification* notification) {
            reason = notification->userInfo()->get<CFString>(CFSTR("reason"))->string();
        });
    StandardErrorCapture log;
    view->loadComposition(composition(HEADER "\nvoid main() { gl_FragColor = missing; }"));
    EXPECT_TRUE(DispatchMain::runUntil([&] { return !reason.empty(); }, 30));
    NSNotificationCenter::defaultCenter()->removeObserver(token);
    EXPECT_THAT(reason, testing::MatchesRegex("test.fs:3: .*missing.*"));
    const auto pixels = view->pixels();
    ASSERT_GE(pixels.size(), 2U);
    for (std::size_t i = 1; i < pixels.size(); ++i)
        EXPECT_TRUE(pixels[i][0] > pixels[i - 1][0] || pixels[i][0] == 255) << "it kept what it had at " << i;
}

TEST_F(RendererPreparation, WithoutASecondContextTheNextOneIsCompiledAtOnce)
{
    run(half);
    StandardErrorCapture log;
    const FailPoint::Scope none("GLContextCreate");
    view->loadComposition(composition(green));
    EXPECT_TRUE(view->waitFor({ 0, 255, 0 }));
    EXPECT_THAT(log.text(), testing::HasSubstr("There is no context to render filters in: "));
}

TEST_F(RendererPreparation, AViewMayGoWhileItsNextFilterIsCompiled)
{
    run(half);
    {
        const ThreadGate gate(RenderThread::forNextFilters());
        auto other = make<RunningView>();
        other->loadComposition(composition(half));
        other->startRendering();
        other->renderOnce({ 200, 100, 50 });
        other->loadComposition(composition(green));
        other->renderOnce({ 200, 100, 50 });
        other->stopRendering();
        other = nullptr;
    }
    view->loadComposition(composition(green));
    EXPECT_TRUE(view->waitFor({ 0, 255, 0 }));
}
