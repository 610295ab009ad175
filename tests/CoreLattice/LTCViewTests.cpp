#include "tests/CoreLattice/Pictures.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreGraphics/CGImage.h"
#include "Platform/CoreImage/CIImage.h"
#include "Platform/Foundation/NSNotification.h"
#include "Platform/OpenGL/GLContext.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>

#include <condition_variable>
#include <regex>
#include <thread>

using namespace Pictures;
using testing::AllOf;
using testing::Ge;
using testing::Le;

namespace {

#define HEADER "/*{ \"INPUTS\": [ { \"NAME\": \"inputImage\", \"TYPE\": \"image\" } ] }*/\n"

/// Red tells the column, green the row from the top.
Ref<CVPixelBuffer> places(std::size_t width, std::size_t height)
{
    return picture(width, height, [](std::size_t x, std::size_t y) {
        return Pixel { static_cast<int>(x), static_cast<int>(y), 77 };
    });
}

void expectSamePixels(CVPixelBuffer& a, CVPixelBuffer& b)
{
    ASSERT_EQ(a.width(), b.width());
    ASSERT_EQ(a.height(), b.height());
    for (std::size_t y = 0; y < a.height(); ++y) {
        for (std::size_t x = 0; x < a.width(); ++x)
            ASSERT_EQ(pixelAt(a, x, y), pixelAt(b, x, y)) << x << ", " << y;
    }
}

/// A view that counts its renders and notes their thread.
class CountingView : public LTCView {
public:
    bool renderAtTime_arguments(double time, CFDictionary* arguments) override
    {
        const bool rendered = LTCView::renderAtTime_arguments(time, arguments);
        const std::lock_guard lock(mLock);
        ++mCount;
        mThread = std::this_thread::get_id();
        mLastResult = rendered;
        mRendered.notify_all();
        return rendered;
    }
    bool waitForCount(int count)
    {
        std::unique_lock lock(mLock);
        return mRendered.wait_for(lock, std::chrono::seconds(20), [&] { return mCount >= count; });
    }
    int count()
    {
        const std::lock_guard lock(mLock);
        return mCount;
    }
    std::thread::id thread()
    {
        const std::lock_guard lock(mLock);
        return mThread;
    }

private:
    std::mutex mLock;
    std::condition_variable mRendered;
    int mCount = 0;
    bool mLastResult = false;
    std::thread::id mThread;
};

}

TEST(LTCView, APassThroughGivesThePictureBackPixelForPixelUpright)
{
    const auto input = places(101, 57);
    for (const auto* const body : { "IMG_THIS_PIXEL(inputImage)", "IMG_THIS_NORM_PIXEL(inputImage)",
             "IMG_NORM_PIXEL(inputImage, isf_FragNormCoord)", "IMG_PIXEL(inputImage, gl_FragCoord.xy)",
             "IMG_NORM_PIXEL(inputImage, vv_FragNormCoord)",
             "IMG_PIXEL(inputImage, isf_FragNormCoord * IMG_SIZE(inputImage))" }) {
        SCOPED_TRACE(body);
        const auto view = Pictures::view(std::string(HEADER "void main() { gl_FragColor = ") + body + "; }", input);
        expectSamePixels(*render(*view), *input);
    }
}

TEST(LTCView, CoordinatesCountFromTheBottomLeft)
{
    const auto input = plain(64, 32, { 0, 0, 0 });
    const auto view = Pictures::view(
        HEADER "void main() { gl_FragColor = vec4(isf_FragNormCoord, step(16.0, gl_FragCoord.y), 1.0); }", input);
    const auto result = render(*view);
    EXPECT_EQ(pixelAt(*result, 0, 31), (Pixel { 2, 4, 0 }));
    EXPECT_EQ(pixelAt(*result, 63, 0), (Pixel { 253, 251, 255 }));
}

TEST(LTCView, ReadsTheDialectThatRealFilesAreWrittenIn)
{
    const auto input = plain(8, 8, { 100, 100, 100 });
    const auto view = Pictures::view(HEADER R"(
        #ifdef GL_ES
        precision mediump float;
        #endif
        float a = 1;
        const float table[3] = float[3](0.0, 0.5, 1.0);
        float sample = 0.25;
        void main() {
            float sum = 0;
            for (int i = 0; i < 3; ++i) sum += table[i];
            vec4 color = texture2D(inputImage, vec2(0.5));
            gl_FragColor = vec4(sum == 1.5 ? a : 0, color.g, sample, 1);
        })",
        input);
    EXPECT_EQ(pixelAt(*render(*view), 4, 4), (Pixel { 255, 100, 64 }));
}

TEST(LTCView, InputsReachTheShaderWithTheirTypes)
{
    const auto view = make<LTCView>();
    view->loadComposition(composition(R"(/*{ "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "level", "TYPE": "float", "DEFAULT": 0.2 }, { "NAME": "on", "TYPE": "bool" },
        { "NAME": "mode", "TYPE": "long", "VALUES": [2, 8], "DEFAULT": 2 }, { "NAME": "tint", "TYPE": "color", "DEFAULT": [0, 0, 1, 1] },
        { "NAME": "place", "TYPE": "point2D", "DEFAULT": [0.25, 0.75] }, { "NAME": "flash", "TYPE": "event" } ] }*/
        void main() {
            if (gl_FragCoord.x < 2.0) gl_FragColor = vec4(level, on ? 1.0 : 0.0, float(mode) / 10.0, 1.0);
            else gl_FragColor = vec4(flash ? 1.0 : place.x, place.y, tint.b, 1.0);
        })"));
    view->setValue_forInputKey(plain(4, 1, { 0, 0, 0 }).get(), QCCompositionInputImageKey);
    auto result = render(*view);
    EXPECT_EQ(pixelAt(*result, 0, 0), (Pixel { 51, 0, 51 }));
    EXPECT_EQ(pixelAt(*result, 3, 0), (Pixel { 64, 191, 255 }));

    view->setValue_forInputKey(CFNumber::create(0.6).get(), CFSTR("level"));
    view->setValue_forInputKey(kCFBooleanTrue, CFSTR("on"));
    view->setValue_forInputKey(CFNumber::create(8).get(), CFSTR("mode"));
    view->setValue_forInputKey(kCFBooleanTrue, CFSTR("flash"));
    result = render(*view);
    EXPECT_EQ(pixelAt(*result, 0, 0), (Pixel { 153, 255, 204 }));
    EXPECT_EQ(pixelAt(*result, 3, 0)[0], 255);
    EXPECT_EQ(pixelAt(*render(*view), 3, 0)[0], 64) << "an event lasts for one render";

    view->setValue_forInputKey(nullptr, CFSTR("level"));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0)[0], 51) << "null brings the default back";
    view->setValue_forInputKey(CFNumber::create(1.0).get(), CFSTR("noSuchInput"));
    EXPECT_FALSE(view->valueForInputKey(CFSTR("noSuchInput")));
}

TEST(LTCView, TakesMoreInputsThanADriverHandsOn)
{
    std::string inputs;
    std::string sum;
    for (int i = 0; i < 60; ++i) {
        inputs
            += ", { \"NAME\": \"level" + std::to_string(i) + "\", \"TYPE\": \"color\", \"DEFAULT\": [0.01, 0, 0, 1] }";
        sum += " + level" + std::to_string(i) + ".r";
    }
    const auto view = Pictures::view("/*{ \"INPUTS\": [ { \"NAME\": \"inputImage\", \"TYPE\": \"image\" }" + inputs
            + " ] }*/ void main() { gl_FragColor = vec4(0.0" + sum + "); }",
        plain(4, 4, { 0, 0, 0 }));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0)[0], 153);
}

TEST(LTCView, PassesHaveTheirSizesAndFeedTheNextOnes)
{
    const auto view = Pictures::view(R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ],
        "PASSES": [ { "TARGET": "small", "WIDTH": "$WIDTH / 4", "HEIGHT": "$HEIGHT / 3" }, { } ] }*/
        void main() {
            if (PASSINDEX == 0) gl_FragColor = vec4(RENDERSIZE / 255.0, 0.0, 1.0);
            else gl_FragColor = vec4(IMG_NORM_PIXEL(small, vec2(0.5)).rg, IMG_SIZE(small).x / 255.0, 1.0);
        })",
        plain(80, 50, { 0, 0, 0 }));
    EXPECT_EQ(pixelAt(*render(*view), 10, 10), (Pixel { 20, 16, 20 }));
}

TEST(LTCView, APersistentBufferRemembersAndAFloatingOneKeepsSmallSteps)
{
    const auto view = Pictures::view(R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ],
        "PASSES": [ { "TARGET": "counter", "WIDTH": 1, "HEIGHT": 1, "PERSISTENT": true, "FLOAT": true }, { } ] }*/
        void main() {
            if (PASSINDEX == 0) gl_FragColor = IMG_THIS_PIXEL(counter) + vec4(0.0005);
            else gl_FragColor = vec4(IMG_NORM_PIXEL(counter, vec2(0.5)).r * 100.0, float(FRAMEINDEX) / 255.0, TIMEDELTA, 1.0);
        })",
        plain(4, 4, { 0, 0, 0 }));
    Ref<CVPixelBuffer> result;
    for (int i = 0; i < 12; ++i)
        result = render(*view, i * 0.5);
    EXPECT_THAT(pixelAt(*result, 0, 0)[0], AllOf(Ge(152), Le(154)));
    EXPECT_EQ(pixelAt(*result, 0, 0)[1], 11);
    EXPECT_EQ(pixelAt(*result, 0, 0)[2], 128);
    view->loadComposition(view->loadedComposition()->copy().get());
    EXPECT_THAT(pixelAt(*render(*view), 0, 0)[0], AllOf(Ge(12), Le(14))) << "a new load forgets";
}

TEST(LTCView, AnUnchangingPassIsRenderedAgainOnlyForOtherValues)
{
    const auto view = Pictures::view(
        R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "level", "TYPE": "float", "DEFAULT": 0.2 } ],
        "PASSES": [ { "TARGET": "still", "UNCHANGING": true }, { } ] }*/
        void main() {
            if (PASSINDEX == 0) gl_FragColor = vec4(level, float(FRAMEINDEX) / 255.0, 0.0, 1.0);
            else gl_FragColor = IMG_THIS_PIXEL(still);
        })",
        plain(4, 4, { 0, 0, 0 }));
    render(*view);
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 51, 0, 0 }));
    view->setValue_forInputKey(CFNumber::create(0.4).get(), CFSTR("level"));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 102, 2, 0 }));
}

TEST(LTCView, AVertexShaderOfItsOwnPlacesTheCorners)
{
    const auto view = Pictures::view(
        HEADER "varying vec2 moved; void main() { gl_FragColor = IMG_NORM_PIXEL(inputImage, moved); }", places(64, 64),
        "varying vec2 moved; void main() { isf_vertShaderInit(); moved = isf_FragNormCoord + vec2(0.0, 0.5); }");
    // Half a picture further up is half a picture less in rows from the top.
    EXPECT_EQ(pixelAt(*render(*view), 5, 40), (Pixel { 5, 8, 77 }));
}

TEST(LTCView, TheOutputIsOpaqueAndHasTheInputsSize)
{
    const auto input = plain(30, 20, { 10, 20, 30 });
    for (const auto* const source : { HEADER "void main() { gl_FragColor = vec4(0.0); }",
             "/*{ \"INPUTS\": [ { \"NAME\": \"inputImage\", \"TYPE\": \"image\" } ], \"PASSES\": [ { \"TARGET\": "
             "\"t\", \"WIDTH\": 7 } ] }*/"
             "void main() { gl_FragColor = vec4(0.0); }" }) {
        const auto view = Pictures::view(source, input);
        const auto result = render(*view);
        EXPECT_EQ(result->width(), 30U);
        EXPECT_EQ(result->height(), 20U);
        EXPECT_EQ(std::to_integer<int>(result->baseAddress()[3]), 255);
        EXPECT_TRUE(result->surface());
    }
}

TEST(LTCView, AFaultyShaderLetsThePictureThroughAndNamesTheLine)
{
    const auto input = places(16, 16);
    const auto view = Pictures::view(HEADER "\nvoid main() { gl_FragColor = vec4(missing); }", input);
    testing::internal::CaptureStderr();
    const auto result = render(*view);
    render(*view);
    const auto log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(result, input);
    EXPECT_THAT(log, testing::ContainsRegex("A composition cannot be rendered: test.fs:3: .*missing"));
    EXPECT_EQ(log.find("cannot be rendered"), log.rfind("cannot be rendered")) << "reported once";
}

TEST(LTCView, AnEndlessLoopEnds)
{
    const auto view = Pictures::view(HEADER "void main() { int n = 0; while (true) { n++; if (n < 0) break; } "
                                            "gl_FragColor = vec4(n == 16384 ? 1.0 : 0.0); }",
        plain(4, 4, { 0, 0, 0 }));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0)[0], 255);
}

TEST(LTCView, ARefusedCompositionLeavesTheOneBeforeWithItsValues)
{
    const auto input = plain(8, 8, { 200, 100, 0 });
    const auto view = Pictures::view(
        R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "level", "TYPE": "float", "DEFAULT": 1.0 } ] }*/
        void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage) * level; })",
        input);
    view->setValue_forInputKey(CFNumber::create(0.5).get(), CFSTR("level"));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 100, 50, 0 }));
    auto* const good = view->loadedComposition();
    for (const auto* const bad :
        { HEADER "void main() { gl_FragColor = missing; }",
            "/*{ \"INPUTS\": [ { \"NAME\": \"inputImage\", \"TYPE\": \"image\" } ], \"PASSES\": [ { \"TARGET\": \"a\", "
            "\"WIDTH\": 8192, \"HEIGHT\": 2048, \"FLOAT\": true, \"PERSISTENT\": true }, { \"TARGET\": \"b\", "
            "\"WIDTH\": 4096, "
            "\"HEIGHT\": 4096 }, {} ] }*/ void main() { gl_FragColor = vec4(1.0); }",
            HEADER "void main() { float x = 0.0; while (true) { for (int i = 0; i < 64; i++) x += sin(x + float(i)); }"
                   " gl_FragColor = vec4(x); }" }) {
        SCOPED_TRACE(bad);
        StandardErrorCapture log;
        // Large enough for the slow one to be slow anywhere.
        view->loadComposition(composition(bad));
        view->setValue_forInputKey(plain(1920, 1080, { 200, 100, 0 }).get(), QCCompositionInputImageKey);
        EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 100, 50, 0 }));
        EXPECT_TRUE(CFEqual(view->loadedComposition(), good));
        EXPECT_THAT(log.text(), testing::HasSubstr("A composition cannot be rendered: test.fs:"));
    }
}

TEST(LTCView, TellsOfARefusedComposition)
{
    const auto view
        = Pictures::view(HEADER "void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage); }", plain(8, 8, { 1, 2, 3 }));
    render(*view);
    auto* const good = view->loadedComposition();
    auto* const bad = composition(HEADER "\nvoid main() { gl_FragColor = missing; }");
    view->loadComposition(bad);
    std::vector<std::string> told;
    const auto note = [&](NSNotification* notification) {
        auto* const userInfo = notification->userInfo();
        auto* const reason = userInfo->get<CFString>(CFSTR("reason"));
        told.push_back(CFEqual(userInfo->objectForKey(CFSTR("QCComposition")), reason ? bad : good)
                ? reason ? std::string(textOf(reason)) : "loaded"
                : "another composition");
    };
    auto* const center = NSNotificationCenter::defaultCenter();
    const auto refused = center->addObserverForName_object_queue_usingBlock(
        LTCViewDidRefuseCompositionNotification, view, nullptr, note);
    const auto loaded = center->addObserverForName_object_queue_usingBlock(
        LTCViewDidLoadCompositionNotification, view, nullptr, note);
    StandardErrorCapture log;
    render(*view);
    DispatchMain::drain();
    for (const auto& token : { refused, loaded })
        center->removeObserver(token);
    ASSERT_EQ(told.size(), 2U);
    EXPECT_THAT(told[0], testing::MatchesRegex("test.fs:3: .*missing.*"));
    EXPECT_EQ(told[1], "loaded");
}

TEST(LTCView, GivesNothingBeforeItCanRender)
{
    const auto view = make<LTCView>();
    EXPECT_EQ(view->attributes(), nullptr);
    EXPECT_EQ(view->inputKeys()->count(), 0U);
    EXPECT_FALSE(view->renderAtTime_arguments(0, nullptr));
    EXPECT_FALSE(view->valueForOutputKey_ofType(QCCompositionOutputImageKey, CFSTR("CGImage")));
    view->loadComposition(composition(HEADER "void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage); }"));
    EXPECT_FALSE(view->renderAtTime_arguments(0, nullptr)) << "there is no picture at the input";
    EXPECT_FALSE(output(*view));
}

TEST(LTCView, GivesAnImageOnDemandWithoutAnyRenderBefore)
{
    const auto input = places(20, 10);
    const auto view = Pictures::view(HEADER "void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage); }", input);
    const auto value = view->valueForOutputKey_ofType(QCCompositionOutputImageKey, CFSTR("CGImage"));
    auto* const image = kindOf<CGImage>(value);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width(), 20U);
    EXPECT_EQ(std::to_integer<int>(image->row(7)[3 * 4 + 1]), 7);
    EXPECT_FALSE(view->valueForOutputKey_ofType(CFSTR("other"), CFSTR("CGImage")));
    EXPECT_FALSE(view->valueForOutputKey_ofType(QCCompositionOutputImageKey, CFSTR("other")));
}

TEST(LTCView, ThePictureStaysWhenAnotherCompositionIsLoaded)
{
    const auto view = Pictures::view(HEADER "void main() { gl_FragColor = vec4(1.0); }", plain(8, 8, { 1, 2, 3 }));
    const auto before = render(*view);
    view->loadComposition(composition(HEADER "void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage); }"));
    EXPECT_EQ(output(*view), before) << "the former output stays until the next render";
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 1, 2, 3 }));
}

TEST(LTCView, TakesAnImageForAPicture)
{
    const auto view = make<LTCView>();
    view->loadComposition(composition(HEADER "void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage); }"));
    view->setValue_forInputKey(
        CIImage::imageWithCVImageBuffer(plain(8, 8, { 9, 8, 7 }).get()).get(), QCCompositionInputImageKey);
    EXPECT_EQ(pixelAt(*render(*view), 3, 3), (Pixel { 9, 8, 7 }));
}

TEST(LTCView, APictureThatIsTakenAwayIsGone)
{
    const auto view = Pictures::view(R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "overlay", "TYPE": "image" } ] }*/ void main() { gl_FragColor = IMG_THIS_PIXEL(overlay); })",
        plain(8, 8, { 1, 2, 3 }));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 0, 0, 0 }));
    view->setValue_forInputKey(plain(8, 8, { 9, 8, 7 }).get(), CFSTR("overlay"));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 9, 8, 7 }));
    view->setValue_forInputKey(nullptr, CFSTR("overlay"));
    EXPECT_FALSE(view->valueForInputKey(CFSTR("overlay")));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 0, 0, 0 }));
    view->setValue_forInputKey(nullptr, QCCompositionInputImageKey);
    EXPECT_FALSE(view->renderAtTime_arguments(0, nullptr)) << "without the picture to work on there is nothing to show";
}

TEST(LTCView, AValueOfAnotherClassCountsAsNone)
{
    const auto input = plain(8, 8, { 10, 20, 30 });
    const auto view = Pictures::view(R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "level", "TYPE": "float", "DEFAULT": 0.2 } ] }*/ void main() { gl_FragColor = vec4(level); })",
        input);
    const auto level = [&] { return kindOf<CFNumber>(view->valueForInputKey(CFSTR("level"))); };
    view->setValue_forInputKey(CFNumber::create(0.4).get(), CFSTR("level"));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0)[0], 102);
    view->setValue_forInputKey(CFSTR("text"), CFSTR("level"));
    ASSERT_TRUE(level());
    EXPECT_EQ(level()->doubleValue(), 0.2);
    EXPECT_EQ(pixelAt(*render(*view), 0, 0)[0], 51);
    view->setValue_forInputKey(CFSTR("text"), QCCompositionInputImageKey);
    EXPECT_FALSE(view->valueForInputKey(QCCompositionInputImageKey));
    EXPECT_FALSE(view->renderAtTime_arguments(0, nullptr));
}

TEST(LTCView, AnImageIsTakenAtTheSizeThatItIsGiven)
{
    const auto view = Pictures::view(HEADER "void main() { gl_FragColor = vec4(IMG_SIZE(inputImage) / 255.0, "
                                            "IMG_THIS_PIXEL(inputImage).b, 1.0); }",
        plain(8, 8, { 1, 2, 3 }));
    const auto image = CIImage::imageWithCVImageBuffer(plain(80, 40, { 9, 8, 7 }).get());
    view->setValue_forInputKey(
        image->imageByApplyingTransform(CGAffineTransformMakeScale(0.25, 0.25)).get(), QCCompositionInputImageKey);
    const auto result = render(*view);
    EXPECT_EQ(result->width(), 20U);
    EXPECT_EQ(result->height(), 10U);
    EXPECT_EQ(pixelAt(*result, 3, 3), (Pixel { 20, 10, 7 }));
}

TEST(LTCView, RendersForARequestOnTheRenderThreadAndShowsTheResult)
{
    const auto view = make<CountingView>();
    view->loadComposition(composition(HEADER "void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage).grba; }"));
    view->setValue_forInputKey(plain(8, 8, { 50, 60, 70 }).get(), QCCompositionInputImageKey);
    view->setNeedsDisplay(true);
    EXPECT_EQ(view->count(), 0) << "not between start and stop";
    view->startRendering();
    ASSERT_TRUE(view->waitForCount(1));
    view->setNeedsDisplay(true);
    ASSERT_TRUE(view->waitForCount(2));
    EXPECT_NE(view->thread(), std::this_thread::get_id());
    view->stopRendering();
    // A render that was asked for still waits its turn behind this one, so it shows that none comes any more.
    view->renderAtTime_arguments(0, nullptr);
    const int count = view->count();
    view->setNeedsDisplay(true);
    view->renderAtTime_arguments(0, nullptr);
    EXPECT_EQ(view->count(), count + 1);
    const AutoreleasePool pool;
    auto* const shown = kindOf<CVPixelBuffer>(view->layer()->contents());
    ASSERT_TRUE(shown);
    EXPECT_EQ(pixelAt(*shown, 0, 0), (Pixel { 60, 50, 70 }));
}

TEST(LTCView, ACompositionThatLooksAtTheTimeRendersByItself)
{
    const auto view = make<CountingView>();
    view->loadComposition(
        composition(HEADER "void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage) * fract(TIME); }"));
    view->setValue_forInputKey(plain(8, 8, { 50, 60, 70 }).get(), QCCompositionInputImageKey);
    view->startRendering();
    EXPECT_TRUE(view->waitForCount(5));
    view->stopRendering();
}

TEST(LTCView, AFlippedPreviewTurnsTheShownPictureOnly)
{
    EXPECT_FALSE(LTCView::classDefaultIsPreviewFlipped());
    const auto view = Pictures::view(HEADER "void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage); }", places(8, 8));
    render(*view);
    view->setIsPreviewFlippedY(true);
    EXPECT_TRUE(view->isPreviewFlippedY());
    const AutoreleasePool pool;
    auto* const shown = kindOf<CVPixelBuffer>(view->layer()->contents());
    ASSERT_TRUE(shown);
    EXPECT_EQ(pixelAt(*shown, 3, 0), (Pixel { 3, 7, 77 }));
    EXPECT_EQ(pixelAt(*output(*view), 3, 0), (Pixel { 3, 0, 77 }));
}

namespace {

constexpr const char* invert = HEADER "void main() { gl_FragColor = vec4(1.0 - IMG_THIS_PIXEL(inputImage).rgb, 1.0); }";

/// Adds a tenth of full red to what it kept at each render, and shows that.
constexpr const char* keep = R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ],
    "PASSES": [ { "TARGET": "kept", "PERSISTENT": true } ] }*/
    void main() { gl_FragColor = vec4(IMG_THIS_PIXEL(kept).r + 0.1, IMG_THIS_PIXEL(inputImage).gb, 1.0); })";

std::string withoutPrefixes(const std::string& log)
{
    return std::regex_replace(log, std::regex("(^|\n)[0-9-]+ [0-9:.]+ [^\n]*\\[[0-9:]+\\] "), "$1");
}

}

TEST(LTCViewLoss, AContextThatIsLostBetweenRendersCostsNothing)
{
    const auto view = Pictures::view(invert, plain(8, 4, { 10, 20, 30 }));
    const auto other = Pictures::view(invert, plain(4, 8, { 40, 50, 60 }));
    for (const auto& each : { view, other })
        render(*each);
    StandardErrorCapture log;
    FailPoint::arm("GLContextLost", -1, 0, 1);
    EXPECT_EQ(pixelAt(*render(*view), 7, 3), (Pixel { 245, 235, 225 }));
    EXPECT_EQ(pixelAt(*render(*other), 3, 7), (Pixel { 215, 205, 195 }));
    EXPECT_EQ(pixelAt(*render(*view), 0, 0), (Pixel { 245, 235, 225 }));
    FailPoint::disarm("GLContextLost");
    EXPECT_EQ(withoutPrefixes(log.text()),
        "The graphics driver lost the context of the filters; they start again in a new one.\n");
}

TEST(LTCViewLoss, WhatACompositionKeptIsGoneWithTheContext)
{
    const auto view = Pictures::view(keep, plain(4, 4, { 0, 20, 30 }));
    render(*view);
    EXPECT_EQ(pixelAt(*render(*view), 2, 2), (Pixel { 52, 20, 30 }));
    StandardErrorCapture log;
    const FailPoint::Scope lost("GLContextLost", -1, 0, 1);
    EXPECT_EQ(pixelAt(*render(*view), 2, 2), (Pixel { 26, 20, 30 }));
    EXPECT_EQ(pixelAt(*render(*view), 2, 2), (Pixel { 52, 20, 30 }));
}

TEST(LTCViewLoss, APictureThatWasBeingRenderedIsLeftOut)
{
    const auto view = Pictures::view(invert, plain(8, 4, { 10, 20, 30 }));
    const auto before = render(*view);
    StandardErrorCapture log;
    // Good when the render begins and lost when it ends.
    const FailPoint::Scope lost("GLContextLost", -1, 1, 1);
    EXPECT_FALSE(view->renderAtTime_arguments(0, nullptr));
    EXPECT_EQ(output(*view), before);
    EXPECT_EQ(pixelAt(*render(*view), 7, 3), (Pixel { 245, 235, 225 }));
}

TEST(LTCViewLoss, UntilThereIsANewContextThePictureComesThroughAsItIs)
{
    const auto input = plain(8, 4, { 10, 20, 30 });
    const auto view = Pictures::view(invert, input);
    render(*view);
    StandardErrorCapture log;
    {
        const FailPoint::Scope lost("GLContextLost", -1, 0, 1);
        const FailPoint::Scope none("GLContextCreate");
        EXPECT_EQ(render(*view), input);
        EXPECT_EQ(render(*view), input);
    }
    EXPECT_EQ(pixelAt(*render(*view), 7, 3), (Pixel { 245, 235, 225 }));
    EXPECT_EQ(withoutPrefixes(log.text()),
        "The graphics driver lost the context of the filters; they are left out until there is a new one.\n"
        "The graphics driver lost the context of the filters; they start again in a new one.\n");
}

TEST(LTCViewLoss, AViewMayGoAfterItsContext)
{
    auto gone = Pictures::view(keep, plain(4, 4, { 0, 20, 30 }));
    const auto view = Pictures::view(keep, plain(4, 4, { 0, 20, 30 }));
    render(*gone);
    render(*view);
    StandardErrorCapture log;
    const FailPoint::Scope lost("GLContextLost", -1, 0, 1);
    EXPECT_EQ(pixelAt(*render(*view), 2, 2), (Pixel { 26, 20, 30 }));
    gone = nullptr;
    // What the view that has gone had in the lost context is not taken from those that are in the new one.
    EXPECT_EQ(pixelAt(*render(*view), 2, 2), (Pixel { 52, 20, 30 }));
}

TEST(GLContext, SaysWhyThereIsNone)
{
    const FailPoint::Scope fails("GLContextCreate");
    std::string error;
    EXPECT_EQ(GLContext::create(&error), nullptr);
    EXPECT_EQ(error, "no context (armed fail point)");
}
