#include "Platform/QuartzCore/CALayer.h"

#include "Platform/QuartzCore/CATransaction.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace {

class CountingHost : public CALayerHost {
public:
    void layerNeedsDisplay() override { ++count; }
    std::atomic<int> count = 0;
};

Ref<CVPixelBuffer> makeBuffer()
{
    Ref<CVPixelBuffer> buffer;
    CVPixelBufferCreate(kCFAllocatorDefault, 4, 2, kCVPixelFormatType_32BGRA, nullptr, &buffer);
    return buffer;
}

class PictureObject : public NSObject, public CALayerContents {
public:
    Ref<CVPixelBuffer> copyPixelBufferForLayer() override { return buffer; }
    Ref<CVPixelBuffer> buffer = makeBuffer();
};

TEST(CALayer, ShowsThePixelBufferThatItWasGivenAndNoCopy)
{
    const auto layer = make<CALayer>();
    const auto buffer = makeBuffer();
    layer->setContents(buffer);
    EXPECT_EQ(layer->copyPixelBufferForDisplay().get(), buffer.get());
}

TEST(CALayer, ShowsTheMemoryOfASurface)
{
    const auto layer = make<CALayer>();
    const auto surface = IOSurface::create(16, 8, kCVPixelFormatType_32BGRA, 4, nullptr);
    layer->setContents(surface);
    const auto shown = layer->copyPixelBufferForDisplay();
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->baseAddress(), surface->baseAddress());
}

TEST(CALayer, AsksAnImageForItsPixelsAndShowsNothingOfOtherObjects)
{
    const auto layer = make<CALayer>();
    const auto picture = make<PictureObject>();
    layer->setContents(picture);
    EXPECT_EQ(layer->copyPixelBufferForDisplay().get(), picture->buffer.get());
    layer->setContents(CFSTR("no picture"));
    EXPECT_FALSE(layer->copyPixelBufferForDisplay());
}

TEST(CALayer, LetsGoOfTheOldContentsWhenNewOnesCome)
{
    const auto layer = make<CALayer>();
    auto buffer = makeBuffer();
    const WeakRef<CVPixelBuffer> watched(buffer);
    layer->setContents(buffer);
    buffer = nullptr;
    EXPECT_TRUE(watched.strongReference());
    layer->setContents(makeBuffer().get());
    EXPECT_FALSE(watched.strongReference());
}

TEST(CALayer, TellsItsHostOfEachChangeFromAnyThread)
{
    const auto layer = make<CALayer>();
    CountingHost host;
    layer->setHost(&host);
    std::thread([&] { layer->setContents(makeBuffer().get()); }).join();
    EXPECT_EQ(host.count, 1);
    layer->setNeedsDisplay();
    EXPECT_EQ(host.count, 2);
    layer->setHost(nullptr);
    layer->setNeedsDisplay();
    EXPECT_EQ(host.count, 2);
}

TEST(CALayer, PlacesContentsByItsGravity)
{
    const auto layer = make<CALayer>();
    const CGSize picture { 1280, 720 };
    const CGSize square { 640, 640 };
    EXPECT_EQ(layer->rectangleForContents(picture, square), CGRectMake(0, 0, 640, 640));
    layer->setContentsGravity(kCAGravityResizeAspect);
    EXPECT_EQ(layer->rectangleForContents(picture, square), CGRectMake(0, 140, 640, 360));
    EXPECT_EQ(layer->rectangleForContents({ 720, 1280 }, { 1280, 640 }), CGRectMake(460, 0, 360, 640));
    layer->setContentsGravity(kCAGravityResizeAspectFill);
    const auto filled = layer->rectangleForContents(picture, { 640, 720 });
    EXPECT_EQ(filled, CGRectMake(-320, 0, 1280, 720));
}

TEST(CATransaction, ShowsTheChangesOfAllLayersOnceAtTheOutermostEnd)
{
    const auto layer = make<CALayer>();
    CountingHost host;
    layer->setHost(&host);
    CATransaction::begin();
    CATransaction::begin();
    layer->setContents(makeBuffer().get());
    layer->setHidden(true);
    CATransaction::commit();
    EXPECT_EQ(host.count, 0);
    CATransaction::commit();
    EXPECT_EQ(host.count, 1);
    layer->setHost(nullptr);
}

TEST(CATransaction, GroupsOnlyTheChangesOfItsOwnThread)
{
    const auto layer = make<CALayer>();
    CountingHost host;
    layer->setHost(&host);
    CATransaction::begin();
    std::thread([&] { layer->setNeedsDisplay(); }).join();
    EXPECT_EQ(host.count, 1);
    CATransaction::commit();
    EXPECT_EQ(host.count, 1);
    layer->setHost(nullptr);
}

TEST(CATransaction, DisablesActionsUntilTheGroupEnds)
{
    CATransaction::setDisableActions(true);
    EXPECT_FALSE(CATransaction::disableActions());
    CATransaction::begin();
    CATransaction::setDisableActions(true);
    EXPECT_TRUE(CATransaction::disableActions());
    CATransaction::commit();
    EXPECT_FALSE(CATransaction::disableActions());
    CATransaction::commit();
}

}
