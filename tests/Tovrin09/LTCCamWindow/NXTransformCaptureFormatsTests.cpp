#include "Tovrin09/LTCCamWindow/NXTransformCaptureFormats.h"

#include "Platform/AVFoundation/AVCaptureDeviceFormat.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <gtest/gtest.h>

namespace {

std::string textFor(CFType* value)
{
    const auto result = make<NXTransformCaptureFormats>()->transformedValue(value);
    return kindOf<CFString>(result)->string();
}

Ref<AVCaptureDeviceFormat> pictures(int width, int height)
{
    return make<AVCaptureDeviceFormat>(AVMediaTypeVideo,
        make<CMFormatDescription>(kCVPixelFormatType_32BGRA, CMVideoDimensions { width, height }),
        std::vector<Ref<AVFrameRateRange>> {});
}

std::string rates(std::initializer_list<std::pair<double, double>> ranges)
{
    std::vector<Ref<AVFrameRateRange>> list;
    for (const auto& [least, most] : ranges)
        list.push_back(make<AVFrameRateRange>(least, most));
    return textFor(CFArray::create(list).get());
}

}

TEST(NXTransformCaptureFormats, TheSizeOfTheFirstFormatIsTold)
{
    EXPECT_EQ(textFor(CFArray::create(std::vector { pictures(1280, 720), pictures(640, 480) }).get()), "1280 × 720");
}

TEST(NXTransformCaptureFormats, RatesAreToldAsPeopleWriteThem)
{
    EXPECT_EQ(rates({ { 30, 30 } }), "30 fps");
    EXPECT_EQ(rates({ { 29.97, 29.97 } }), "30 fps");
    EXPECT_EQ(rates({ { 7.5, 7.5 } }), "7.5 fps");
    EXPECT_EQ(rates({ { 15, 30 }, { 5, 10 } }), "5–30 fps");
}

TEST(NXTransformCaptureFormats, AnythingElseIsEmpty)
{
    EXPECT_EQ(textFor(nullptr), "");
    EXPECT_EQ(textFor(CFSTR("text")), "");
    EXPECT_EQ(textFor(CFArray::create().get()), "");
    EXPECT_EQ(textFor(CFArray::create(std::vector { Ref<CFString>(CFSTR("text")) }).get()), "");
}
