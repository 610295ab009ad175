#include "CoreLattice/RenderThread.h"
#include "CoreLattice/ThumbnailScheduler.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreImage/CIImage.h"
#include "tests/CoreLattice/Pictures.h"
#include "tests/CoreLattice/ThreadGate.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>

using namespace Pictures;
using CoreLattice::RenderThread;
using CoreLattice::ThumbnailScheduler;

namespace {

std::string filter(const char* body)
{
    return std::string("/*{ \"INPUTS\": [ { \"NAME\": \"inputImage\", \"TYPE\": \"image\" } ] }*/ void main() { ")
        + body + " }";
}

class Thumbnails : public testing::Test {
protected:
    Ref<LTCCompositionPickerTile> tile(const char* body)
    {
        return make<LTCCompositionPickerTile>(composition(filter(body)));
    }
    /// Hands out pictures as a camera does until something is so.
    bool feedUntil(const std::function<bool()>& condition)
    {
        return DispatchMain::runUntil(
            [&] {
                const AutoreleasePool inner;
                scheduler->setValue(picture.get(), QCCompositionInputImageKey);
                return condition();
            },
            60);
    }
    void show(const std::vector<Ref<LTCCompositionPickerTile>>& tiles)
    {
        scheduler->setTileSize(32, 18);
        scheduler->setTiles(tiles);
        scheduler->setMaxFrameRate(10);
        scheduler->setActive(true);
    }
    const AutoreleasePool pool;
    const std::shared_ptr<ThumbnailScheduler> scheduler = std::make_shared<ThumbnailScheduler>();
    const Ref<CVPixelBuffer> picture = plain(64, 36, { 200, 100, 50 });
};

}

TEST_F(Thumbnails, AreDrawnWhenTheyAreCompiledAndHoldUpNothingUntilThen)
{
    const auto first = tile("gl_FragColor = IMG_THIS_PIXEL(inputImage).grba;");
    const auto second = tile("gl_FragColor = vec4(0.0, 0.0, 1.0, 1.0);");
    ThreadGate gate(RenderThread::forTiles());
    show({ first, second });
    const auto view = Pictures::view(filter("gl_FragColor = vec4(1.0);"), picture);
    for (int i = 0; i < 20; ++i) {
        scheduler->setValue(picture.get(), QCCompositionInputImageKey);
        EXPECT_TRUE(view->renderAtTime_arguments(i, nullptr)) << "drawing goes on";
    }
    EXPECT_FALSE(first->thumbnail());
    EXPECT_FALSE(second->thumbnail());
    gate.open();
    EXPECT_TRUE(feedUntil([&] { return first->thumbnail() && second->thumbnail(); }));
    EXPECT_EQ(pixelAt(*first->thumbnail(), 3, 3), (Pixel { 100, 200, 50 }));
    EXPECT_EQ(pixelAt(*second->thumbnail(), 3, 3), (Pixel { 0, 0, 255 }));
}

TEST_F(Thumbnails, OneThatCannotBeDrawnIsNotTriedAgainAtOnce)
{
    const auto only = tile("gl_FragColor = vec4(1.0);");
    show({ only });
    ASSERT_TRUE(feedUntil([&] { return only->thumbnail() != nullptr; }));
    // Each drawing asks for a buffer first.
    constexpr const char* buffer = "CVPixelBufferPoolCreatePixelBuffer";
    const FailPoint::Scope fails(buffer);
    const auto begin = std::chrono::steady_clock::now();
    const auto elapsed
        = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count(); };
    EXPECT_TRUE(feedUntil([&] { return elapsed() > 1 && FailPoint::passes(buffer) > 1; }));
    EXPECT_LE(static_cast<double>(FailPoint::passes(buffer)), 2 + elapsed() * 10 / 0.9);
}

TEST_F(Thumbnails, AnImageThatIsToBeMadeSmallerIsTakenNoMoreOftenThanATileIsDrawn)
{
    const auto only = tile("gl_FragColor = IMG_THIS_PIXEL(inputImage);");
    show({ only });
    const auto quarter = [](Pixel pixel) {
        return CIImage::imageWithCVImageBuffer(plain(64, 36, pixel).get())
            ->imageByApplyingTransform(CGAffineTransformMakeScale(0.25, 0.25));
    };
    const auto red = quarter({ 255, 0, 0 });
    const auto green = quarter({ 0, 255, 0 });
    // Making one smaller asks for a buffer, and so does nothing else here.
    const FailPoint::Scope counted("CVPixelBufferCreate", -1, UINT64_MAX);
    for (int i = 0; i < 100; ++i)
        scheduler->setValue(red, QCCompositionInputImageKey);
    EXPECT_LE(FailPoint::passes("CVPixelBufferCreate"), 20U);
    const auto shows = [&](const Ref<CIImage>& image, Pixel pixel) {
        return DispatchMain::runUntil(
            [&] {
                const AutoreleasePool inner;
                scheduler->setValue(image, QCCompositionInputImageKey);
                return only->thumbnail() && pixelAt(*only->thumbnail(), 3, 3) == pixel;
            },
            60);
    };
    EXPECT_TRUE(shows(red, { 255, 0, 0 }));
    EXPECT_TRUE(shows(green, { 0, 255, 0 }));
}

TEST_F(Thumbnails, AFilterThatTheDriverRefusesShowsThePicture)
{
    const auto bad = tile("gl_FragColor = missing;");
    const auto good = tile("gl_FragColor = vec4(0.0, 1.0, 0.0, 1.0);");
    StandardErrorCapture log;
    show({ bad, good });
    EXPECT_TRUE(feedUntil([&] { return bad->thumbnail() && good->thumbnail(); }));
    EXPECT_EQ(bad->thumbnail(), picture.get());
    EXPECT_EQ(pixelAt(*good->thumbnail(), 3, 3), (Pixel { 0, 255, 0 }));
    EXPECT_THAT(log.text(), testing::HasSubstr("A composition cannot be rendered: test.fs:1: "));
}
