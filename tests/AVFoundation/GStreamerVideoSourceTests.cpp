#include "Platform/AVFoundation/GStreamerVideoSource.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/AVFoundation/ChainCamera.h"
#include "tests/AVFoundation/ReferencePicture.h"

#include <gtest/gtest.h>

class GStreamerVideoSourceTest : public testing::Test {
protected:
    void open(const std::string& chain, const std::string& caps)
    {
        source = nullptr;
        camera = std::make_unique<ChainCamera>(chain, caps);
        source = std::make_unique<GStreamerVideoSource>(sink, camera->device());
    }
    void TearDown() override
    {
        source = nullptr;
        FailPoint::disarmAll();
    }
    /// The green of the last picture's middle.
    int middle() { return sink.pixel(160, 90)[1]; }
    NotingSink sink;
    std::unique_ptr<ChainCamera> camera;
    std::unique_ptr<GStreamerVideoSource> source;
};

TEST_F(GStreamerVideoSourceTest, RawPicturesArriveInTheSizeAskedForStampedOnTheHostClock)
{
    open("videotestsrc is-live=true pattern=white", "video/x-raw,format=YUY2,width=640,height=360,framerate=30/1");
    const std::int64_t before = HostClock::nanoseconds();
    ASSERT_FALSE(source->start());
    ASSERT_TRUE(sink.waitForPictures(5));
    source->stop();
    EXPECT_EQ(sink.last()->width(), 320U);
    EXPECT_GT(middle(), 250);
    EXPECT_GT(sink.times.back(), before);
    EXPECT_LE(sink.times.back(), HostClock::nanoseconds());
    EXPECT_EQ(sink.lastDuration, 33'333'333);
    const int pictures = sink.pictures;
    ASSERT_FALSE(source->start());
    EXPECT_TRUE(sink.waitForPictures(pictures + 2));
}

TEST_F(GStreamerVideoSourceTest, CompressedPicturesAreDecoded)
{
    open("videotestsrc is-live=true pattern=green ! video/x-raw,format=RGB ! jpegenc",
        "image/jpeg,width=640,height=480,framerate=15/1");
    ASSERT_FALSE(source->start());
    ASSERT_TRUE(sink.waitForPictures(3));
    source->stop();
    EXPECT_GT(middle(), 245);
    EXPECT_EQ(std::to_integer<int>(sink.last()->baseAddress()[2]) / 16, 0);
}

TEST_F(GStreamerVideoSourceTest, EveryRawFormatHasTheColoursOfItsStandard)
{
    struct Telling {
        const char* caps;
        ReferencePicture::Colours colours;
    };
    using Matrix = ReferencePicture::Matrix;
    const Telling tellings[] { { "bt601", { Matrix::BT601, false } }, { "bt709", { Matrix::BT709, false } },
        { "bt2020", { Matrix::BT2020, false } }, { "1:4:0:0", { Matrix::BT601, true } },
        { "1:3:0:0", { Matrix::BT709, true } }, { "1:6:0:0", { Matrix::BT2020, true } } };
    for (const auto& format : ReferencePicture::formats()) {
        open("appsrc", "video/x-raw,width=98,height=54,framerate=30/1");
        sink.requested = { 98, 54 };
        ASSERT_FALSE(source->start());
        for (const auto& [caps, colours] : tellings) {
            const ReferencePicture reference(format, 98, 54, colours);
            if (reference.isRGB())
                break;
            const int before = sink.pictures;
            camera->push(reference.caps() + ",colorimetry=" + caps, reference.bytes());
            ASSERT_TRUE(sink.waitForPictures(before + 1)) << format;
            // Ten bits of the full range are cut to eight first, and BT.2020 amplifies that the most.
            const bool isHardest = colours.matrix == Matrix::BT2020 && colours.isFullRange && format.ends_with("_10LE");
            EXPECT_LE(reference.worstDifference(*sink.last()), isHardest ? 3 : 2) << format << " " << caps;
        }
        // Untold: red, green and blue as they are, brightness alone likewise, and the rest as webcams mean it.
        ReferencePicture reference(format, 98, 54, { Matrix::BT601, format.starts_with("GRAY") });
        const int before = sink.pictures;
        camera->push(reference.caps(), reference.bytes());
        ASSERT_TRUE(sink.waitForPictures(before + 1)) << format;
        EXPECT_LE(reference.worstDifference(*sink.last()), 2) << format << " untold";
        source->stop();
        EXPECT_EQ(sink.failures, 0);
    }
}

TEST_F(GStreamerVideoSourceTest, PicturesOfOddSizesKeepTheirColours)
{
    for (const std::string format : { "I420", "NV12", "YUY2", "Y42B", "RGB", "GRAY8" }) {
        open("appsrc", "video/x-raw,width=97,height=55,framerate=30/1");
        sink.requested = { 97, 55 };
        ASSERT_FALSE(source->start());
        const ReferencePicture reference(format, 97, 55, { ReferencePicture::Matrix::BT601, format == "GRAY8" });
        const int before = sink.pictures;
        camera->push(reference.caps(), reference.bytes());
        ASSERT_TRUE(sink.waitForPictures(before + 1)) << format;
        EXPECT_LE(reference.worstDifference(*sink.last()), 2) << format;
    }
}

TEST_F(GStreamerVideoSourceTest, AtEverySizeAnUntoldStandardIsTheWebcamsOwn)
{
    for (const CMVideoDimensions size : { CMVideoDimensions { 640, 480 }, { 1280, 720 }, { 1920, 1080 } }) {
        for (const std::string format : { "YUY2", "NV12", "P010_10LE" }) {
            open("appsrc", "video/x-raw,framerate=30/1");
            sink.requested = size;
            ASSERT_FALSE(source->start());
            const ReferencePicture reference(format, size.width, size.height, {});
            const int before = sink.pictures;
            camera->push(reference.caps(), reference.bytes());
            ASSERT_TRUE(sink.waitForPictures(before + 1)) << format;
            EXPECT_LE(reference.worstDifference(*sink.last()), 2) << format << size.width;
        }
    }
}

TEST_F(GStreamerVideoSourceTest, LimitedRedGreenAndBlueAreWidened)
{
    open("appsrc", "video/x-raw,width=64,height=36");
    sink.requested = { 64, 36 };
    ASSERT_FALSE(source->start());
    std::vector<std::uint8_t> bytes(64 * 36 * 4, 235);
    std::fill_n(bytes.begin(), 64 * 18 * 4, std::uint8_t { 16 });
    int pictures = 0;
    for (const std::string format : { "BGRx", "RGBA", "xRGB" }) {
        camera->push("video/x-raw,format=" + format + ",width=64,height=36,framerate=30/1,colorimetry=2:1:0:0", bytes);
        ASSERT_TRUE(sink.waitForPictures(++pictures));
        EXPECT_EQ(sink.pixel(3, 3), (std::array { 0, 0, 0 })) << format;
        EXPECT_EQ(sink.pixel(3, 33), (std::array { 255, 255, 255 })) << format;
    }
}

TEST_F(GStreamerVideoSourceTest, ACameraThatChangesItsFormatGoesOn)
{
    open("appsrc", "video/x-raw,format=YUY2,width=640,height=360,framerate=30/1");
    sink.requested = { 64, 36 };
    ASSERT_FALSE(source->start());
    int pictures = 0;
    for (const std::string format : { "YUY2", "NV12", "RGB", "P010_10LE", "YUY2" }) {
        for (const CMVideoDimensions size : { CMVideoDimensions { 64, 36 }, { 128, 72 }, { 48, 96 }, { 64, 36 } }) {
            const ReferencePicture reference(format, size.width, size.height, {});
            for (const char* const rate : { "30/1", "15/1" }) {
                auto caps = reference.caps();
                caps.replace(caps.rfind('=') + 1, std::string::npos, rate);
                camera->push(caps, reference.bytes());
                ASSERT_TRUE(sink.waitForPictures(++pictures)) << caps;
                EXPECT_EQ(sink.last()->width(), 64U);
                if (size == sink.requested) {
                    EXPECT_LE(reference.worstDifference(*sink.last()), 2) << caps;
                }
            }
        }
    }
    EXPECT_FALSE(sink.lastError);
    EXPECT_EQ(sink.failures, 0);
}

TEST_F(GStreamerVideoSourceTest, ABufferThatIsTooShortIsLeftOut)
{
    open("appsrc", "video/x-raw,format=YUY2,width=64,height=36,framerate=30/1");
    sink.requested = { 64, 36 };
    ASSERT_FALSE(source->start());
    const ReferencePicture reference("YUY2", 64, 36, {});
    auto cut = reference.bytes();
    cut.resize(cut.size() / 2);
    camera->push(reference.caps(), cut);
    camera->push(reference.caps(), reference.bytes());
    ASSERT_TRUE(sink.waitForPictures(1));
    EXPECT_EQ(sink.failures, 1);
    EXPECT_LE(reference.worstDifference(*sink.last()), 2);
}

TEST_F(GStreamerVideoSourceTest, ATurnedCameraShowsAnUprightPicture)
{
    open("appsrc", "video/x-raw,format=BGRx,width=36,height=64,framerate=30/1");
    sink.requested = { 64, 36 };
    ASSERT_FALSE(source->start());
    const ReferencePicture lying("BGRx", 36, 64, {});
    camera->push(lying.caps(), lying.bytes());
    ASSERT_TRUE(sink.waitForPictures(1));
    const auto show = [&](const char* tags, int pictures) {
        camera->pushTags(tags);
        camera->push(lying.caps(), lying.bytes());
        return sink.waitForPictures(pictures);
    };
    const auto expectAt = [&](std::size_t x, std::size_t y, int sourceX, int sourceY, const char* what) {
        const auto wanted = lying.expected(sourceX, sourceY);
        const auto pixel = sink.pixel(x, y);
        for (std::size_t component = 0; component < 3; ++component)
            EXPECT_NEAR(pixel[component], wanted[component], 1) << what;
    };
    ASSERT_TRUE(show("taglist,image-orientation=(string)rotate-90", 2));
    expectAt(63, 0, 0, 0, "clockwise");
    expectAt(0, 0, 0, 63, "clockwise");
    ASSERT_TRUE(show("taglist,image-orientation=(string)rotate-270", 3));
    expectAt(0, 35, 0, 0, "anticlockwise");
    ASSERT_TRUE(show("taglist,image-orientation=(string)flip-rotate-90", 4));
    expectAt(63, 35, 0, 0, "mirrored, then clockwise");
    ASSERT_TRUE(show("taglist,image-orientation=(string)flip-rotate-270", 5));
    expectAt(0, 0, 0, 0, "mirrored, then anticlockwise");

    open("appsrc", "video/x-raw,format=BGRx,width=64,height=36,framerate=30/1");
    ASSERT_FALSE(source->start());
    const ReferencePicture upright("BGRx", 64, 36, {});
    camera->push(upright.caps(), upright.bytes());
    ASSERT_TRUE(sink.waitForPictures(6));
    EXPECT_LE(upright.worstDifference(*sink.last()), 0);
    const auto corner = [&](const char* orientation, int pictures) {
        camera->pushTags((std::string("taglist,image-orientation=(string)") + orientation).c_str());
        camera->push(upright.caps(), upright.bytes());
        EXPECT_TRUE(sink.waitForPictures(pictures));
        const auto wanted = upright.expected(0, 0);
        std::string result;
        for (const auto& [x, y, name] : { std::tuple<std::size_t, std::size_t, const char*> { 0, 0, "top left" },
                 { 63, 0, "top right" }, { 0, 35, "bottom left" }, { 63, 35, "bottom right" } })
            if (const auto pixel = sink.pixel(x, y);
                std::abs(pixel[0] - wanted[0]) + std::abs(pixel[1] - wanted[1]) < 2)
                result = name;
        return result;
    };
    EXPECT_EQ(corner("rotate-180", 7), "bottom right");
    EXPECT_EQ(corner("flip-rotate-0", 8), "top right");
    EXPECT_EQ(corner("flip-rotate-180", 9), "bottom left");
    EXPECT_EQ(corner("rotate-0", 10), "top left");
}

TEST_F(GStreamerVideoSourceTest, InterleavedPicturesAndLongPixelsAreReckonedWith)
{
    open("appsrc", "video/x-raw,format=GRAY8,width=64,height=72,framerate=25/1");
    sink.requested = { 64, 36 };
    ASSERT_FALSE(source->start());
    std::vector<std::uint8_t> bytes(64 * 72, 200);
    for (std::size_t y = 1; y < 72; y += 2)
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(y * 64), 64, std::uint8_t { 50 });
    // A square of 16:9 with pixels twice as wide as high; its second field is darker.
    camera->push("video/x-raw,format=GRAY8,width=64,height=72,framerate=25/1,pixel-aspect-ratio=2/1,"
                 "interlace-mode=interleaved,field-order=top-field-first",
        bytes);
    ASSERT_TRUE(sink.waitForPictures(1));
    for (const std::size_t y : { 0U, 1U, 17U, 35U })
        EXPECT_EQ(sink.pixel(32, y)[1], 200);
}

TEST_F(GStreamerVideoSourceTest, WithoutASizeThePictureIsAsLargeAsItIsUpright)
{
    open("appsrc", "video/x-raw,format=GRAY8,width=64,height=36,framerate=30/1");
    sink.requested = {};
    ASSERT_FALSE(source->start());
    const std::string form = "video/x-raw,format=GRAY8,width=64,height=36,framerate=30/1,pixel-aspect-ratio=2/1";
    const std::vector<std::uint8_t> bytes(64 * 36, 9);
    camera->push(form, bytes);
    ASSERT_TRUE(sink.waitForPictures(1));
    EXPECT_EQ(sink.last()->width(), 128U);
    EXPECT_EQ(sink.last()->height(), 36U);
    camera->pushTags("taglist,image-orientation=(string)rotate-90");
    camera->push(form, bytes);
    ASSERT_TRUE(sink.waitForPictures(2));
    EXPECT_EQ(sink.last()->width(), 36U);
    EXPECT_EQ(sink.last()->height(), 128U);
}

TEST_F(GStreamerVideoSourceTest, EveryPictureKeepsTheTimeAtWhichItWasTaken)
{
    open("appsrc", "video/x-raw,format=GRAY8,width=64,height=36,framerate=30/1");
    ASSERT_FALSE(source->start());
    const auto now = [] { return HostClock::nanoseconds(); };
    std::vector<std::int64_t> taken;
    const auto take = [&](std::int64_t age) {
        const auto start = static_cast<std::int64_t>(gst_element_get_base_time(camera->element()));
        taken.push_back(std::max(now() - age, start));
        camera->push("video/x-raw,format=GRAY8,width=64,height=36,framerate=30/1",
            std::vector<std::uint8_t>(64 * 36, 9), taken.back() - start);
        return sink.waitForPictures(static_cast<int>(taken.size()));
    };
    // Uneven gaps, as in the dark; each picture a little older than it comes.
    for (const std::int64_t milliseconds : { 0, 30, 66, 100, 67, 200, 33 }) {
        camera->interval = std::chrono::milliseconds(milliseconds);
        ASSERT_TRUE(take(milliseconds == 0 ? 0 : 3'000'000));
    }
    std::int64_t longest = 0;
    for (std::size_t index = 1; index < taken.size(); ++index) {
        EXPECT_NEAR(static_cast<double>(sink.times[index]), static_cast<double>(taken[index]), 1'000'000) << index;
        longest = std::max(longest, taken[index] - taken[index - 1]);
    }
    // The clock says how long they stand, about, and not the caps.
    EXPECT_GT(sink.lastDuration, 45'000'000);
    EXPECT_LT(sink.lastDuration, longest);
}

TEST_F(GStreamerVideoSourceTest, ASlowCameraDeliversWhatItHasAndNoMore)
{
    open("videotestsrc is-live=true", "video/x-raw,format=NV12,width=64,height=36,framerate=15/1");
    ASSERT_FALSE(source->start());
    ASSERT_TRUE(sink.waitForPictures(12));
    source->stop();
    for (std::size_t index = 2; index < sink.times.size(); ++index)
        EXPECT_NEAR(static_cast<double>(sink.times[index] - sink.times[index - 1]), 1e9 / 15, 5e6);
    EXPECT_EQ(sink.lastDuration, 66'666'666);
}

TEST_F(GStreamerVideoSourceTest, OfAFastCameraEverySecondPictureIsTaken)
{
    for (const std::string chain : { "videotestsrc is-live=true ! video/x-raw,framerate=60/1",
             "videotestsrc "
             "is-live=true ! video/x-raw,framerate=60/1 ! capssetter caps=video/x-raw,framerate=30/1" }) {
        open(chain, "video/x-raw,format=NV12,width=64,height=36");
        const auto before = sink.times.size();
        ASSERT_FALSE(source->start());
        ASSERT_TRUE(sink.waitForPictures(static_cast<int>(before) + 60));
        source->stop();
        // Also one that says something else, after a moment.
        for (std::size_t index = before + 40; index < before + 60; ++index)
            EXPECT_NEAR(static_cast<double>(sink.times[index] - sink.times[index - 1]), 1e9 / 30, 8e6) << index;
        EXPECT_NEAR(static_cast<double>(sink.lastDuration), 1e9 / 30, 3e6);
    }
}

TEST_F(GStreamerVideoSourceTest, AStreamThatEndsIsADeviceThatHasGone)
{
    open("videotestsrc is-live=true num-buffers=3", "video/x-raw,format=NV12,width=640,height=360,framerate=30/1");
    ASSERT_FALSE(source->start());
    ASSERT_TRUE(sink.wait([this] { return static_cast<bool>(sink.lastError); }));
    EXPECT_EQ(sink.lastError->code(), AVErrorDeviceWasDisconnected);
    EXPECT_EQ(sink.pictures, 3);
}

TEST_F(GStreamerVideoSourceTest, AFailureSpeaksWithTheLibrarysWords)
{
    open("filesrc location=/nowhere/at/all ! jpegdec", "video/x-raw,format=I420,width=640,height=360,framerate=30/1");
    const auto refusal = source->start();
    ASSERT_TRUE(refusal);
    EXPECT_NE(
        textOf(refusal->localizedDescription()).find("(No such file \"/nowhere/at/all\")"), std::string_view::npos)
        << textOf(refusal->localizedDescription());
    EXPECT_FALSE(sink.lastError);
}

TEST_F(GStreamerVideoSourceTest, ADeviceThatCannotBeOpenedSaysSo)
{
    open("videotestsrc", "video/x-raw,format=I420,width=640,height=360,framerate=30/1");
    const FailPoint::Scope fails("GStreamerSource.start");
    EXPECT_TRUE(source->start());
    source->stop();
    EXPECT_EQ(sink.pictures, 0);
}
