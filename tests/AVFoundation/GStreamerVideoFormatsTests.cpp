#include "Platform/AVFoundation/GStreamerVideoFormats.h"

#include <gtest/gtest.h>

namespace {

constexpr CMVideoDimensions wanted { 1280, 720 };

std::vector<GStreamerVideoFormat> formatsOf(const char* text, CMVideoDimensions preferred = wanted)
{
    gst_init(nullptr, nullptr);
    const GstCapsOwner caps(gst_caps_from_string(text));
    return GStreamerVideoFormatsOf(caps.get(), preferred);
}

std::string textOf(const GStreamerVideoFormat& format)
{
    const auto caps = format.caps();
    const GTextOwner text(gst_caps_to_string(caps.get()));
    return text.get();
}

}

TEST(GStreamerVideoFormats, AFastCompressedFormatIsBetterThanASlowRawOne)
{
    const auto formats = formatsOf("video/x-raw,format=YUY2,width=1280,height=720,framerate=10/1;"
                                   "video/x-raw,format=YUY2,width=640,height=480,framerate=30/1;"
                                   "image/jpeg,width=1280,height=720,framerate=30/1");
    ASSERT_EQ(formats.size(), 3U);
    EXPECT_EQ(textOf(formats[0]), "image/jpeg, width=(int)1280, height=(int)720, framerate=(fraction)30/1");
    EXPECT_EQ(formats[1].dimensions.width, 640);
    EXPECT_EQ(formats[2].rateNumerator, 10);
}

TEST(GStreamerVideoFormats, TheSmallestThatCoversIsTakenElseTheLargest)
{
    const char* const sizes = "video/x-raw,format=NV12,width=3840,height=2160,framerate=30/1;"
                              "video/x-raw,format=NV12,width=1920,height=1080,framerate=30/1;"
                              "video/x-raw,format=NV12,width=640,height=480,framerate=30/1;"
                              "video/x-raw,format=NV12,width=800,height=600,framerate=30/1";
    EXPECT_EQ(formatsOf(sizes)[0].dimensions.width, 1920);
    EXPECT_EQ(formatsOf(sizes, { 320, 240 })[0].dimensions.width, 640);
    EXPECT_EQ(formatsOf(sizes, { 7680, 4320 })[0].dimensions.width, 3840);
}

TEST(GStreamerVideoFormats, AmongRatesTheOneNearestToThirtyIsTaken)
{
    EXPECT_EQ(
        formatsOf("video/x-raw,format=NV12,width=1280,height=720,framerate={15/1,60/1,30/1,5/1}")[0].rateNumerator, 30);
    EXPECT_EQ(formatsOf("video/x-raw,format=NV12,width=1280,height=720,framerate=[1/1,60/1]")[0].rateNumerator, 30);
    EXPECT_EQ(formatsOf("video/x-raw,format=NV12,width=1280,height=720,framerate=[1/1,25/1]")[0].rateNumerator, 25);
    EXPECT_EQ(formatsOf("video/x-raw,format=NV12,width=1280,height=720,framerate=60/1;"
                        "image/jpeg,width=1280,height=720,framerate=30/1")[0]
                  .mediaType,
        "image/jpeg");
}

TEST(GStreamerVideoFormats, RangesComeDownToWhatIsPreferred)
{
    const auto formats
        = formatsOf("video/x-raw,format={I420,NV12},width=[16,4096,16],height=[16,400],framerate=[0/1,30/1]");
    ASSERT_EQ(formats.size(), 1U);
    EXPECT_EQ(textOf(formats[0]),
        "video/x-raw, format=(string)I420, width=(int)1280, height=(int)400, framerate=(fraction)30/1");
}

TEST(GStreamerVideoFormats, WhatTellsNothingGivesNothing)
{
    EXPECT_TRUE(formatsOf("ANY").empty());
    EXPECT_TRUE(formatsOf("EMPTY").empty());
    EXPECT_TRUE(formatsOf("video/x-raw(memory:DMABuf),format=NV12,width=1280,height=720,framerate=30/1").empty());
    EXPECT_TRUE(formatsOf("video/x-raw,format=NV12").empty());
    EXPECT_EQ(textOf(formatsOf("video/x-raw,width=640,height=480")[0]), "video/x-raw, width=(int)640, height=(int)480");
}
