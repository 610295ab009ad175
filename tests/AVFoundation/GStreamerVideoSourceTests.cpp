#include "Platform/AVFoundation/GStreamerVideoSource.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"

#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>

namespace {

/// A device whose element is a chain of GStreamer's own elements.
struct ChainDevice {
    GstDevice parent;
    std::string* chain;
};
struct ChainDeviceClass {
    GstDeviceClass parent;
};

GType chainDeviceType()
{
    static const GType registered = [] {
        GTypeInfo info {};
        info.class_size = sizeof(ChainDeviceClass);
        info.instance_size = sizeof(ChainDevice);
        info.class_init = [](gpointer type, gpointer) {
            GST_DEVICE_CLASS(type)->create_element = [](GstDevice* device, const gchar*) {
                const auto& chain = *reinterpret_cast<ChainDevice*>(device)->chain;
                return gst_parse_bin_from_description(chain.c_str(), TRUE, nullptr);
            };
        };
        return g_type_register_static(GST_TYPE_DEVICE, "TovrinChainDevice", &info, GTypeFlags {});
    }();
    return registered;
}

/// Notes what a source brings.
class NotingSink final : public CaptureSink {
public:
    CMVideoDimensions requestedDimensions() const override { return { 320, 180 }; }
    CMVideoDimensions preferredDimensions() const override { return { 1280, 720 }; }
    bool admitPicture() override { return true; }
    void pictureCame(Ref<CVPixelBuffer> picture, std::int64_t hostTime, std::int64_t duration) override
    {
        const std::lock_guard lock(mLock);
        lastPicture = std::move(picture);
        lastTime = hostTime;
        lastDuration = duration;
        ++pictures;
        mCame.notify_all();
    }
    void pictureFailed() override { }
    void soundCame(std::vector<std::byte>, std::int64_t) override { }
    void sourceFailed(Ref<NSError> error) override
    {
        const std::lock_guard lock(mLock);
        lastError = std::move(error);
        mCame.notify_all();
    }
    template <class Holds> bool wait(const Holds& holds)
    {
        std::unique_lock lock(mLock);
        return mCame.wait_for(lock, std::chrono::seconds(20), holds);
    }
    int pictures = 0;
    std::int64_t lastTime = 0;
    std::int64_t lastDuration = 0;
    Ref<CVPixelBuffer> lastPicture;
    Ref<NSError> lastError;

private:
    std::mutex mLock;
    std::condition_variable mCame;
};

}

class GStreamerVideoSourceTest : public testing::Test {
protected:
    void open(const std::string& chain, const char* caps)
    {
        gst_init(nullptr, nullptr);
        mChain = chain;
        const GstCapsOwner offered(gst_caps_from_string(caps));
        auto* const device = static_cast<ChainDevice*>(g_object_new(chainDeviceType(), "caps", offered.get(),
            "display-name", "Chain", "device-class", "Video/Source", nullptr));
        device->chain = &mChain;
        mDevice.reset(static_cast<GstDevice*>(gst_object_ref_sink(&device->parent)));
        source = std::make_unique<GStreamerVideoSource>(sink, mDevice.get());
    }
    void TearDown() override
    {
        source = nullptr;
        FailPoint::disarmAll();
    }
    /// The green of the last picture's middle.
    int middle() const
    {
        const auto& picture = *sink.lastPicture;
        return std::to_integer<int>(picture.baseAddress()[90 * picture.bytesPerRow() + 160 * 4 + 1]);
    }
    NotingSink sink;
    std::unique_ptr<GStreamerVideoSource> source;

private:
    std::string mChain;
    GstOwned<GstDevice> mDevice;
};

TEST_F(GStreamerVideoSourceTest, RawPicturesArriveInTheSizeAskedForStampedOnTheHostClock)
{
    open("videotestsrc is-live=true pattern=white", "video/x-raw,format=YUY2,width=640,height=360,framerate=30/1");
    const std::int64_t before = HostClock::nanoseconds();
    ASSERT_FALSE(source->start());
    ASSERT_TRUE(sink.wait([this] { return sink.pictures >= 5; }));
    source->stop();
    EXPECT_EQ(sink.lastPicture->width(), 320U);
    EXPECT_GT(middle(), 250);
    EXPECT_GT(sink.lastTime, before);
    EXPECT_LE(sink.lastTime, HostClock::nanoseconds());
    EXPECT_EQ(sink.lastDuration, 33'333'333);
    const int pictures = sink.pictures;
    ASSERT_FALSE(source->start());
    EXPECT_TRUE(sink.wait([&] { return sink.pictures >= pictures + 2; }));
}

TEST_F(GStreamerVideoSourceTest, CompressedPicturesAreDecoded)
{
    open("videotestsrc is-live=true pattern=green ! video/x-raw,format=RGB ! jpegenc",
        "image/jpeg,width=640,height=480,framerate=15/1");
    ASSERT_FALSE(source->start());
    ASSERT_TRUE(sink.wait([this] { return sink.pictures >= 3; }));
    source->stop();
    EXPECT_GT(middle(), 245);
    EXPECT_EQ(std::to_integer<int>(sink.lastPicture->baseAddress()[2]) / 16, 0);
}

TEST_F(GStreamerVideoSourceTest, FormatsThatNeedMoreAreConvertedFirst)
{
    open("videotestsrc is-live=true pattern=white", "video/x-raw,format=GRAY8,width=640,height=360,framerate=30/1");
    ASSERT_FALSE(source->start());
    ASSERT_TRUE(sink.wait([this] { return sink.pictures >= 2; }));
    source->stop();
    EXPECT_GT(middle(), 250);
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
