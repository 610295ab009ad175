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
    ASSERT_EQ(formats.size(), 2U);
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

TEST(GStreamerVideoFormats, RealWebcamsAreAskedForWhatSuitsBest)
{
    struct Webcam {
        const char* name;
        const char* caps;
        const char* wanted;
    };
    const Webcam webcams[] {
        { "a usual one, raw and slow or compressed and fast",
            "video/x-raw,format=YUY2,width=640,height=480,framerate={30/1,25/1,20/1,15/1,10/1,5/1};"
            "video/x-raw,format=YUY2,width=1280,height=720,framerate={10/1,5/1};"
            "video/x-raw,format=YUY2,width=1920,height=1080,framerate=5/1;"
            "image/jpeg,width=640,height=480,framerate={30/1,25/1,20/1,15/1,10/1,5/1};"
            "image/jpeg,width=1280,height=720,framerate={30/1,25/1,20/1,15/1,10/1,5/1};"
            "image/jpeg,width=1920,height=1080,framerate={30/1,25/1,20/1,15/1,10/1,5/1}",
            "image/jpeg, width=(int)1280, height=(int)720, framerate=(fraction)30/1" },
        { "one that compresses by itself",
            "video/x-h264,stream-format=byte-stream,alignment=au,width=1920,height=1080,framerate=30/1;"
            "video/x-h264,stream-format=byte-stream,alignment=au,width=1280,height=720,framerate=30/1;"
            "video/x-h264,stream-format=byte-stream,alignment=au,width=640,height=360,framerate=30/1",
            "video/x-h264, width=(int)1280, height=(int)720, framerate=(fraction)30/1" },
        { "JPEG and H.264 alike",
            "video/x-h264,width=1280,height=720,framerate=30/1;image/jpeg,width=1280,height=720,framerate=30/1",
            "image/jpeg, width=(int)1280, height=(int)720, framerate=(fraction)30/1" },
        { "a fast one that knows nothing slower",
            "image/jpeg,width=1280,height=720,framerate=60/1;image/jpeg,width=1920,height=1080,framerate=60/1;"
            "video/x-raw,format=YUY2,width=640,height=480,framerate=60/1",
            "image/jpeg, width=(int)1280, height=(int)720, framerate=(fraction)60/1" },
        { "a notebook's",
            "video/x-raw,format=NV12,width=1920,height=1080,framerate=30/1;"
            "video/x-raw,format=NV12,width=1280,height=720,framerate=30/1;"
            "video/x-raw,format=NV12,width=640,height=360,framerate=30/1",
            "video/x-raw, format=(string)NV12, width=(int)1280, height=(int)720, framerate=(fraction)30/1" },
        { "a phone held upright",
            "video/x-raw,format={I420,NV12},width=480,height=640,framerate=30/1;"
            "video/x-raw,format={I420,NV12},width=720,height=1280,framerate=30/1;"
            "video/x-raw,format={I420,NV12},width=1080,height=1920,framerate=30/1",
            "video/x-raw, format=(string)I420, width=(int)1080, height=(int)1920, framerate=(fraction)30/1" },
        { "an old one",
            "video/x-raw,format=YUY2,width=352,height=288,framerate=30/1;"
            "video/x-raw,format=YUY2,width=640,height=480,framerate=15/1;"
            "video/x-raw,format=YUY2,width=320,height=240,framerate=30/1",
            "video/x-raw, format=(string)YUY2, width=(int)352, height=(int)288, framerate=(fraction)30/1" },
        { "wide against nearly square",
            "video/x-raw,format=YUY2,width=800,height=600,framerate=30/1;"
            "video/x-raw,format=YUY2,width=848,height=480,framerate=30/1",
            "video/x-raw, format=(string)YUY2, width=(int)848, height=(int)480, framerate=(fraction)30/1" },
        { "television's rates", "image/jpeg,width=1280,height=720,framerate={60000/1001,50/1,30000/1001,25/1}",
            "image/jpeg, width=(int)1280, height=(int)720, framerate=(fraction)30000/1001" },
        { "colours and infrared in one",
            "video/x-raw,format=GRAY8,width=1280,height=720,framerate=30/1;"
            "video/x-raw,format=YUY2,width=640,height=480,framerate=15/1",
            "video/x-raw, format=(string)YUY2, width=(int)640, height=(int)480, framerate=(fraction)15/1" },
        { "infrared alone", "video/x-raw,format=GRAY8,width=640,height=360,framerate={15/1,30/1}",
            "video/x-raw, format=(string)GRAY8, width=(int)640, height=(int)360, framerate=(fraction)30/1" },
        { "deep colours against JPEG",
            "video/x-raw,format=P010_10LE,width=1280,height=720,framerate=30/1;"
            "image/jpeg,width=1280,height=720,framerate=30/1",
            "image/jpeg, width=(int)1280, height=(int)720, framerate=(fraction)30/1" },
        { "a list of which the second is read directly",
            "video/x-raw,format={P010_10LE,NV12},width=1280,height=720,framerate=30/1",
            "video/x-raw, format=(string)NV12, width=(int)1280, height=(int)720, framerate=(fraction)30/1" },
        { "what can be read against what cannot",
            "video/x-bayer,format=rggb,width=1280,height=720,framerate=30/1;"
            "video/x-vp8,width=1280,height=720,framerate=30/1;"
            "video/x-raw,format=YUY2,width=640,height=480,framerate=30/1",
            "video/x-raw, format=(string)YUY2, width=(int)640, height=(int)480, framerate=(fraction)30/1" },
    };
    for (const auto& [name, caps, best] : webcams) {
        const auto formats = formatsOf(caps);
        ASSERT_FALSE(formats.empty()) << name;
        EXPECT_EQ(textOf(formats[0]), best) << name;
    }
    EXPECT_TRUE(formatsOf("video/x-bayer,format=rggb,width=1280,height=720,framerate=30/1").empty());
}
