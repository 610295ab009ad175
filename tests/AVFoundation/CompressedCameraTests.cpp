// Cameras that deliver compressed pictures, through GStreamer's real sources and encoders.

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/AVFoundation/GStreamerVideoSource.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/AVFoundation/ChainCamera.h"
#include "tests/AVFoundation/UntoldH264.h"

#include <algorithm>
#include <cmath>
#include <gst/app/gstappsink.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>

namespace {

/// How colours become the numbers that are compressed.
struct Numbers {
    double redWeight = 0.299;
    double blueWeight = 0.114;
    bool isFullRange = false;
};
constexpr Numbers of601;
constexpr Numbers of601Full { 0.299, 0.114, true };
constexpr Numbers of709 { 0.2126, 0.0722, false };
constexpr Numbers of709Full { 0.2126, 0.0722, true };

/// Seven bars of colour: blue, green and red.
constexpr std::array<std::array<int, 3>, 7> bars { { { 191, 191, 191 }, { 0, 191, 191 }, { 191, 191, 0 }, { 0, 191, 0 },
    { 191, 0, 191 }, { 0, 0, 191 }, { 191, 0, 0 } } };

/// Brightness and its differences from blue and red.
std::array<std::uint8_t, 3> numbersOf(const std::array<int, 3>& colour, const Numbers& by)
{
    const auto [blue, green, red] = colour;
    const double brightness = by.redWeight * red + by.blueWeight * blue + (1 - by.redWeight - by.blueWeight) * green;
    const auto stored = [&](double value, double steps, double zero) {
        return static_cast<std::uint8_t>(
            std::lround(std::clamp(value / 255 * (by.isFullRange ? 255 : steps) + zero, 0.0, 255.0)));
    };
    return { stored(brightness, 219, by.isFullRange ? 0 : 16),
        stored((blue - brightness) / (1 - by.blueWeight) / 2, 224, 128),
        stored((red - brightness) / (1 - by.redWeight) / 2, 224, 128) };
}

/// The bars in planes of brightness and colours; below them something moves, so that pictures build on each other.
std::vector<std::uint8_t> barsPicture(GstVideoFormat format, CMVideoDimensions size, const Numbers& by, int number)
{
    GstVideoInfo info;
    gst_video_info_set_format(&info, format, static_cast<guint>(size.width), static_cast<guint>(size.height));
    std::vector<std::uint8_t> bytes(info.size);
    for (guint component = 0; component < GST_VIDEO_INFO_N_COMPONENTS(&info); ++component) {
        const int width = GST_VIDEO_INFO_COMP_WIDTH(&info, component);
        const int height = GST_VIDEO_INFO_COMP_HEIGHT(&info, component);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const bool isLow = y * 3 > height * 2;
                const bool isBlock = isLow && std::abs(x * 40 / width - number % 40) < 3;
                const auto bar = isLow ? isBlock ? 2U : 0U : static_cast<unsigned>(std::min(6, x * 7 / width));
                bytes[GST_VIDEO_INFO_COMP_OFFSET(&info, component)
                    + static_cast<std::size_t>(y * GST_VIDEO_INFO_COMP_STRIDE(&info, component)
                        + x * GST_VIDEO_INFO_COMP_PSTRIDE(&info, component))]
                    = numbersOf(bars[bar], by)[component];
            }
        }
    }
    return bytes;
}

/// What the chain of GStreamer's elements makes of some pictures of bars.
///
/// \param told  what is said of the numbers, as GStreamer writes it
std::vector<GstSampleOwner> encoded(const std::string& chain, CMVideoDimensions size, const Numbers& by,
    GstVideoFormat format, int count, const char* told = "bt601")
{
    gst_init(nullptr, nullptr);
    const auto caps = std::string("video/x-raw,format=") + gst_video_format_to_string(format) + ",width="
        + std::to_string(size.width) + ",height=" + std::to_string(size.height) + ",framerate=30/1,colorimetry=" + told;
    const GstOwned<GstElement> pipeline(gst_parse_launch(
        ("appsrc name=source format=time caps=" + caps + " ! " + chain + " ! appsink name=sink sync=false").c_str(),
        nullptr));
    const GstOwned<GstElement> source(gst_bin_get_by_name(GST_BIN(pipeline.get()), "source"));
    const GstOwned<GstElement> sink(gst_bin_get_by_name(GST_BIN(pipeline.get()), "sink"));
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    for (int number = 0; number < count; ++number) {
        const auto bytes = barsPicture(format, size, by, number);
        GstBuffer* const buffer = gst_buffer_new_memdup(bytes.data(), bytes.size());
        GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(number) * GST_SECOND / 30;
        GST_BUFFER_DURATION(buffer) = GST_SECOND / 30;
        gst_app_src_push_buffer(GST_APP_SRC(source.get()), buffer);
    }
    gst_app_src_end_of_stream(GST_APP_SRC(source.get()));
    std::vector<GstSampleOwner> samples;
    while (GstSample* const sample = gst_app_sink_try_pull_sample(GST_APP_SINK(sink.get()), 20 * GST_SECOND))
        samples.emplace_back(sample);
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return samples;
}

std::vector<GstSampleOwner> jpegs(
    CMVideoDimensions size, int count = 1, GstVideoFormat format = GST_VIDEO_FORMAT_Y42B, const Numbers& by = of601Full)
{
    return encoded("jpegenc quality=95", size, by, format, count);
}

/// As cameras encode: nothing is kept back, and a whole picture comes once in a while.
std::vector<GstSampleOwner> h264(CMVideoDimensions size, int count, const Numbers& by = of601,
    const char* told = "bt601", const char* packing = "stream-format=byte-stream,alignment=au")
{
    return encoded(
        std::string(
            "x264enc tune=zerolatency speed-preset=ultrafast key-int-max=10 quantizer=18 pass=quant ! video/x-h264,")
            + packing,
        size, by, GST_VIDEO_FORMAT_I420, count, told);
}

std::vector<std::uint8_t> bytesOf(const GstSampleOwner& sample)
{
    GstBuffer* const buffer = gst_sample_get_buffer(sample.get());
    std::vector<std::uint8_t> bytes(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
    return bytes;
}

std::string capsOf(const GstSampleOwner& sample)
{
    const GTextOwner text(gst_caps_to_string(gst_sample_get_caps(sample.get())));
    return text.get();
}

}

class CompressedCameraTest : public testing::Test {
protected:
    void open(const std::string& caps)
    {
        source = nullptr;
        camera = std::make_unique<ChainCamera>("appsrc", caps);
        camera->interval = std::chrono::milliseconds(24); // no faster than cameras may be
        source = std::make_unique<GStreamerVideoSource>(sink, camera->device());
        ASSERT_FALSE(source->start());
    }
    void push(const GstSampleOwner& sample) { camera->push(capsOf(sample), bytesOf(sample)); }
    /// \param tolerance  of 255
    void expectBars(int tolerance, const std::string& what)
    {
        for (std::size_t bar = 0; bar < bars.size(); ++bar) {
            const auto width = sink.last()->width();
            const auto pixel = sink.pixel(width * (bar * 2 + 1) / 14, sink.last()->height() / 3);
            for (std::size_t component = 0; component < 3; ++component)
                EXPECT_NEAR(pixel[component], bars[bar][component], tolerance) << what << " bar " << bar;
        }
    }
    NotingSink sink;
    std::unique_ptr<ChainCamera> camera;
    std::unique_ptr<GStreamerVideoSource> source;
};

TEST_F(CompressedCameraTest, JPEGOfEverySamplingHasItsColoursAtEverySize)
{
    open("image/jpeg,framerate=30/1");
    int pictures = 0;
    for (const CMVideoDimensions size : { CMVideoDimensions { 320, 180 }, { 640, 360 }, { 1280, 720 }, { 638, 359 } }) {
        for (const auto format :
            { GST_VIDEO_FORMAT_I420, GST_VIDEO_FORMAT_Y42B, GST_VIDEO_FORMAT_Y444, GST_VIDEO_FORMAT_Y41B }) {
            push(jpegs(size, 1, format).at(0));
            const auto what = gst_video_format_to_string(format) + std::to_string(size.width);
            ASSERT_TRUE(sink.waitForPictures(++pictures)) << what;
            expectBars(4, what);
        }
    }
    EXPECT_EQ(sink.failures, 0);
}

TEST_F(CompressedCameraTest, JPEGWithoutColoursIsGrey)
{
    open("image/jpeg,framerate=30/1");
    push(jpegs({ 320, 180 }, 1, GST_VIDEO_FORMAT_GRAY8).at(0));
    ASSERT_TRUE(sink.waitForPictures(1));
    for (std::size_t bar = 0; bar < bars.size(); ++bar) {
        for (const int component : sink.pixel(320 * (bar * 2 + 1) / 14, 60))
            EXPECT_NEAR(component, numbersOf(bars[bar], of601Full)[0], 2) << bar;
    }
}

TEST_F(CompressedCameraTest, BrokenJPEGCostsItsOwnPictureOnly)
{
    open("image/jpeg,framerate=30/1");
    const auto files = jpegs({ 640, 360 });
    const auto whole = bytesOf(files.at(0));
    const auto caps = capsOf(files[0]);
    int pictures = 0;
    int broken = 0;
    const auto expectThatItGoesOn = [&](const char* after) {
        camera->push(caps, whole);
        ASSERT_TRUE(sink.waitForPictures(++pictures)) << after;
        expectBars(4, after);
        EXPECT_EQ(sink.failures, broken) << after;
    };
    expectThatItGoesOn("nothing");
    for (const std::size_t length : { std::size_t { 0 }, std::size_t { 1 }, std::size_t { 20 }, whole.size() / 2 }) {
        auto cut = whole;
        cut.resize(length);
        camera->push(caps, cut);
        ++broken;
        expectThatItGoesOn("a cut one");
    }
    camera->push(caps, std::vector<std::uint8_t>(5000, 0xFF));
    ++broken;
    expectThatItGoesOn("noise");
    // A size that would take four gigabytes.
    auto huge = whole;
    const std::array<std::uint8_t, 3> start { 0xFF, 0xC0, 0x00 };
    const auto frame = std::search(huge.begin(), huge.end(), start.begin(), start.end());
    ASSERT_NE(frame, huge.end());
    std::fill_n(frame + 5, 4, std::uint8_t { 0xFE });
    camera->push(caps, huge);
    ++broken;
    expectThatItGoesOn("an enormous one");
    // Damage within: whatever it becomes, there is a picture.
    auto damaged = whole;
    std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(damaged.size() / 2), 60, std::uint8_t { 0x55 });
    camera->push(caps, damaged);
    ++pictures;
    expectThatItGoesOn("a damaged one");
    EXPECT_FALSE(sink.lastError);
}

TEST_F(CompressedCameraTest, JPEGWithTheTablesLeftOutIsRead)
{
    // Webcams leave the code tables out, which are always the same. The encoder's own are those.
    const auto files = jpegs({ 320, 180 });
    const auto whole = bytesOf(files.at(0));
    std::vector<std::uint8_t> bare(whole.begin(), whole.begin() + 2);
    std::size_t at = 2;
    while (whole.at(at + 1) != 0xDA) {
        const std::size_t length = whole.at(at + 2) * 256U + whole.at(at + 3) + 2U;
        const auto begin = whole.begin() + static_cast<std::ptrdiff_t>(at);
        if (whole[at + 1] != 0xC4)
            bare.insert(bare.end(), begin, begin + static_cast<std::ptrdiff_t>(length));
        at += length;
    }
    bare.insert(bare.end(), whole.begin() + static_cast<std::ptrdiff_t>(at), whole.end());
    ASSERT_LT(bare.size(), whole.size());
    open("image/jpeg,framerate=30/1");
    camera->push(capsOf(files[0]), bare);
    ASSERT_TRUE(sink.waitForPictures(1));
    expectBars(4, "no tables");
}

TEST_F(CompressedCameraTest, APictureThatNobodyTakesIsNotDecoded)
{
    sink.refuses = true;
    open("image/jpeg,framerate=30/1");
    // Broken, so that decoding it would show.
    camera->push("image/jpeg,width=320,height=180,framerate=30/1", { 1, 2, 3 });
    sink.refuses = false;
    push(jpegs({ 320, 180 }).at(0));
    ASSERT_TRUE(sink.waitForPictures(1));
    EXPECT_EQ(sink.failures, sink.admitted - 1);
}

TEST_F(CompressedCameraTest, EveryPictureOfH264ComesWithItsOwnSample)
{
    open("video/x-h264,width=640,height=360,framerate=30/1");
    const auto stream = h264({ 640, 360 }, 30);
    ASSERT_EQ(stream.size(), 30U);
    for (int index = 0; index < 30; ++index) {
        push(stream[static_cast<std::size_t>(index)]);
        // The next sample is sent when this picture is there, so none is kept back.
        ASSERT_TRUE(sink.waitForPictures(index + 1));
    }
    EXPECT_TRUE(std::ranges::is_sorted(sink.times));
    EXPECT_EQ(std::ranges::adjacent_find(sink.times), sink.times.end());
    expectBars(5, "H.264");
}

TEST_F(CompressedCameraTest, H264InOtherPackingsIsRead)
{
    for (const char* const packing : { "stream-format=avc,alignment=au", "stream-format=byte-stream,alignment=nal" }) {
        const int before = sink.pictures;
        open("video/x-h264,width=640,height=360,framerate=30/1");
        const bool isInPieces = std::string(packing).ends_with("nal");
        for (const auto& sample :
            h264({ 640, 360 }, 20, of601, "bt601", isInPieces ? "stream-format=byte-stream" : packing)) {
            if (!isInPieces) {
                push(sample);
                continue;
            }
            // Cut into pieces that have nothing to do with the pictures.
            const auto bytes = bytesOf(sample);
            auto caps = capsOf(sample);
            caps.replace(caps.find("alignment=(string)au"), 20, "alignment=(string)nal");
            for (std::size_t at = 0; at < bytes.size(); at += 700)
                camera->push(caps,
                    { bytes.begin() + static_cast<std::ptrdiff_t>(at),
                        bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), at + 700)) });
        }
        // The last one of a stream in pieces is known to be whole when the next begins.
        ASSERT_TRUE(sink.waitForPictures(before + (isInPieces ? 19 : 20))) << packing;
        expectBars(5, packing);
    }
}

TEST_F(CompressedCameraTest, H264HasTheColoursThatItTells)
{
    struct Telling {
        CMVideoDimensions size;
        Numbers meant;
        const char* told; ///< null for nothing
    };
    // Told: each in its own way. Untold: by the number of lines.
    for (const auto& [size, meant, told] :
        { Telling { { 640, 360 }, of601, "bt601" }, { { 640, 360 }, of709, "bt709" }, { { 1280, 720 }, of601, "bt601" },
            { { 640, 360 }, of601Full, "1:4:0:0" }, { { 640, 360 }, of709Full, "1:3:0:0" },
            { { 640, 360 }, of601, nullptr }, { { 1280, 720 }, of709, nullptr } }) {
        open("video/x-h264,framerate=30/1");
        const int before = sink.pictures;
        for (const auto& sample : h264(size, 1, meant, told ? told : "bt601")) {
            const auto bytes = told ? bytesOf(sample) : withNothingTold(bytesOf(sample));
            ASSERT_FALSE(bytes.empty());
            camera->push("video/x-h264,stream-format=byte-stream,alignment=au,framerate=30/1", bytes);
        }
        ASSERT_TRUE(sink.waitForPictures(before + 1));
        expectBars(4, std::to_string(size.width) + " " + (told ? told : "untold"));
    }
}

TEST_F(CompressedCameraTest, DamagedH264GoesOnAndHealsWithTheNextWholePicture)
{
    open("video/x-h264,width=640,height=360,framerate=30/1");
    int index = 0;
    for (const auto& sample : h264({ 640, 360 }, 60)) {
        auto bytes = bytesOf(sample);
        ++index;
        if (index % 10 == 5)
            continue; // lost
        if (index % 10 == 6)
            bytes.resize(bytes.size() / 2);
        if (index % 10 == 7)
            for (std::size_t at = 10; at < bytes.size(); at += 3)
                bytes[at] = static_cast<std::uint8_t>(bytes[at] * 31 + 7);
        const int before = sink.pictures;
        camera->push(capsOf(sample), bytes);
        // From a whole picture to the damage each one comes at once; then, at the latest with the next whole one.
        if (index % 10 >= 1 && index % 10 < 5) {
            ASSERT_TRUE(sink.waitForPictures(before + 1)) << index;
        }
        if (index % 10 == 2)
            expectBars(5, "healed");
    }
    EXPECT_GE(sink.pictures, 24);
    EXPECT_FALSE(sink.lastError);
}

TEST_F(CompressedCameraTest, NothingIsShownBeforeTheFirstWholePicture)
{
    open("video/x-h264,width=640,height=360,framerate=30/1");
    const auto stream = h264({ 640, 360 }, 25);
    ASSERT_EQ(stream.size(), 25U);
    for (std::size_t index = 3; index < 25; ++index)
        push(stream[index]);
    ASSERT_TRUE(sink.waitForPictures(15)); // from the eleventh on
    expectBars(5, "joined late");
    EXPECT_EQ(sink.pictures, 15);
}

TEST_F(CompressedCameraTest, ACameraThatChangesItsFormGoesOn)
{
    open("video/x-h264,width=640,height=360,framerate=30/1;image/jpeg,width=640,height=360,framerate=30/1");
    int pictures = 0;
    for (const CMVideoDimensions size : { CMVideoDimensions { 640, 360 }, { 320, 180 }, { 1280, 720 }, { 360, 640 } }) {
        for (const auto& sample : jpegs(size, 2)) {
            push(sample);
            ASSERT_TRUE(sink.waitForPictures(++pictures)) << "JPEG " << size.width;
        }
        expectBars(4, "JPEG " + std::to_string(size.width));
        for (const auto& sample : h264(size, 3, of709, "bt709")) {
            push(sample);
            ASSERT_TRUE(sink.waitForPictures(++pictures)) << "H.264 " << size.width;
        }
        expectBars(4, "H.264 " + std::to_string(size.width));
        for (const auto& sample : encoded("identity", size, of601, GST_VIDEO_FORMAT_NV12, 2)) {
            push(sample);
            ASSERT_TRUE(sink.waitForPictures(++pictures)) << "raw " << size.width;
        }
        expectBars(3, "raw " + std::to_string(size.width));
    }
    EXPECT_FALSE(sink.lastError);
    EXPECT_EQ(sink.failures, 0);
}

TEST_F(CompressedCameraTest, AStreamOfH264ThatOnlyChangesItsRateNeedsNoNewWholePicture)
{
    open("video/x-h264,width=640,height=360,framerate=30/1");
    int pictures = 0;
    for (const auto& sample : h264({ 640, 360 }, 9)) {
        auto caps = capsOf(sample);
        if (pictures >= 4)
            caps.replace(caps.find("30/1"), 4, "15/1");
        camera->push(caps, bytesOf(sample));
        ASSERT_TRUE(sink.waitForPictures(++pictures));
    }
}
