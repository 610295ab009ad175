#include "Platform/AVFoundation/TestPictureSource.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/CoreFoundation/HostClock.h"

#include <chrono>
#include <ctime>

namespace {

constexpr std::int32_t frameRate = 30;
constexpr std::int64_t interval = nanosecondsInSecond / frameRate; ///< nanoseconds
constexpr CMVideoDimensions ownDimensions { 1280, 720 };
/// Pictures that may be in use at a time before new ones are lost.
constexpr std::size_t mostPicturesInUse = 24;

inline CFString* const shownKey = CFSTR("TestPictureShown");

/// What a surface of the pool still shows, kept with the surface itself.
class SurfaceContents final : public CFType {
public:
    TestPicture::Shown shown;
};

SurfaceContents& contentsOf(IOSurface& surface)
{
    if (auto* const present = surface.values()->get<SurfaceContents>(shownKey))
        return *present;
    const auto contents = make<SurfaceContents>();
    surface.values()->set(shownKey, contents);
    return *contents;
}

std::int64_t zoneOffset()
{
    const std::time_t now = std::time(nullptr);
    std::tm local {};
    return localtime_r(&now, &local) ? local.tm_gmtoff : 0;
}

}

Ref<AVCaptureDevice> TestPictureSource::makeDevice()
{
    AVCaptureDevice::Properties properties;
    properties.uniqueID = "org.tovrin.TestPicture";
    properties.localizedName = "Test Picture";
    properties.manufacturer = "Tovrin";
    properties.mediaType = AVMediaTypeVideo;
    properties.formats.push_back(make<AVCaptureDeviceFormat>(AVMediaTypeVideo,
        make<CMFormatDescription>(kCVPixelFormatType_32BGRA, ownDimensions),
        std::vector { make<AVFrameRateRange>(frameRate, frameRate) }));
    return make<AVCaptureDevice>(
        std::move(properties), [](CaptureSink& sink) { return std::make_unique<TestPictureSource>(sink); });
}

Ref<NSError> TestPictureSource::start()
{
    auto dimensions = mSink.requestedDimensions();
    if (dimensions.width == 0)
        dimensions = ownDimensions;
    mPicture = std::make_unique<TestPicture>(dimensions);
    mPool = make<CVPixelBufferPool>(static_cast<std::size_t>(dimensions.width),
        static_cast<std::size_t>(dimensions.height), kCVPixelFormatType_32BGRA, nullptr);
    mZoneOffset = zoneOffset();
    mQueue = dispatch_queue_create("TestPictureSource");
    mTimer = dispatch_source_create_timer(mQueue);
    if (!mQueue || !mTimer)
        return NSError::errorWithMessage(
            AVFoundationErrorDomain, AVErrorUnknown, "The test picture's timer cannot be made.");
    mStart = HostClock::nanoseconds();
    mLastNumber = -1;
    dispatch_source_set_timer(mTimer, static_cast<dispatch_time_t>(mStart), interval, 0);
    dispatch_source_set_event_handler(mTimer, [this] { frameIsDue(); });
    dispatch_resume(mTimer);
    return nullptr;
}

void TestPictureSource::stop()
{
    if (!mTimer)
        return;
    dispatch_source_cancel(mTimer);
    // What runs now is over when the queue has come to this.
    dispatch_sync(mQueue, [] {});
    mTimer = nullptr;
}

void TestPictureSource::frameIsDue()
{
    const std::int64_t now = HostClock::nanoseconds();
    const std::int64_t number = (now - mStart) / interval;
    // A tick that came so late that it drew the next one's frame already.
    if (number <= mLastNumber)
        return;
    mLastNumber = number;
    if (!mSink.admitPicture())
        return;
    Ref<CVPixelBuffer> picture;
    if (mPool->createPixelBuffer(mostPicturesInUse, &picture) != kCVReturnSuccess) {
        mSink.pictureFailed();
        return;
    }
    auto* const surface = picture->surface();
    const auto today = std::chrono::system_clock::now().time_since_epoch() / std::chrono::seconds(1) + mZoneOffset;
    mPicture->draw({ surface->baseAddress(), surface->bytesPerRow() * surface->height() }, surface->bytesPerRow(),
        static_cast<std::uint32_t>(number), static_cast<int>(today % 86400), contentsOf(*surface).shown);
    mSink.pictureCame(std::move(picture), now, interval);
}
