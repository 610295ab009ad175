// Pictures of 1280x720 on their way from the camera to the delegate.

#include "AllocationCounter.h"
#include "Figures.h"
#include "ProcessorTime.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/AVFoundation/AVCaptureVideoDataOutput.h"
#include "Platform/AVFoundation/GStreamerVideoSource.h"
#include "Platform/AVFoundation/TestPicture.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/AVFoundation/ChainCamera.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <gst/app/gstappsink.h>
#include <libyuv.h>
#include <set>
#include <stdexcept>
#include <thread>

namespace {

constexpr FigureName captureYUY2 { "capture-yuy2", "times", "conversion of YUY2 to BGRA against libyuv alone" };
constexpr FigureName captureYUY2HD { "capture-yuy2-709", "times",
    "conversion of YUY2 by BT.709 to BGRA against libyuv alone, which knows BT.601 only" };
constexpr FigureName captureNV12 { "capture-nv12", "times", "conversion of NV12 to BGRA against libyuv alone" };
constexpr FigureName captureI420 { "capture-i420", "times", "conversion of I420 to BGRA against libyuv alone" };
constexpr FigureName captureBGRx { "capture-bgrx", "times", "conversion of BGRx to BGRA against libyuv's copy" };
constexpr FigureName captureJPEG { "capture-jpeg", "times", "conversion of JPEG to BGRA against libyuv alone" };
constexpr FigureName captureH264 { "capture-h264", "ms", "conversion of a picture of H.264 to BGRA" };
constexpr FigureName captureQueue { "capture-queue", "ms",
    "the video queue's own share of a picture, outside the delegate" };
constexpr FigureName captureAllocations { "capture-allocations", "allocations",
    "memory for pictures that the camera's thread took once it ran, of all raw and JPEG pictures" };
constexpr FigureName captureTestPicture { "capture-test-picture", "ms", "processor time to draw a test picture" };

constexpr CMVideoDimensions size { 1280, 720 };
constexpr std::size_t area = std::size_t { 1280 } * 720;

using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

std::string capsOf(const std::string& format)
{
    return format + ",width=1280,height=720,framerate=30/1";
}

GstSampleOwner sampleOf(const std::string& caps, const std::vector<std::uint8_t>& bytes)
{
    const GstCapsOwner form(gst_caps_from_string(caps.c_str()));
    GstBuffer* const buffer = gst_buffer_new_memdup(bytes.data(), bytes.size());
    GstSampleOwner sample(gst_sample_new(buffer, form.get(), nullptr, nullptr));
    gst_buffer_unref(buffer);
    return sample;
}

/// Pictures as an encoder of GStreamer's makes them of a moving test picture.
std::vector<std::vector<std::uint8_t>> encoded(const std::string& encoder, int count)
{
    const auto chain = "videotestsrc pattern=ball num-buffers=" + std::to_string(count) + " ! "
        + capsOf("video/x-raw,format=I420") + " ! " + encoder + " ! appsink name=sink sync=false";
    const GstOwned<GstElement> pipeline(gst_parse_launch(chain.c_str(), nullptr));
    const GstOwned<GstElement> sink(gst_bin_get_by_name(GST_BIN(pipeline.get()), "sink"));
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    std::vector<std::vector<std::uint8_t>> result;
    while (GstSample* const each = gst_app_sink_try_pull_sample(GST_APP_SINK(sink.get()), 20 * GST_SECOND)) {
        const GstSampleOwner sample(each);
        GstBuffer* const buffer = gst_sample_get_buffer(each);
        result.emplace_back(gst_buffer_get_size(buffer));
        gst_buffer_extract(buffer, 0, result.back().data(), result.back().size());
    }
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    if (result.empty())
        throw std::runtime_error("no pictures come from " + encoder);
    return result;
}

std::vector<std::uint8_t> noise(std::size_t count)
{
    std::vector<std::uint8_t> bytes(count);
    unsigned value = 1;
    for (auto& byte : bytes)
        byte = static_cast<std::uint8_t>((value = value * 1664525 + 1013904223) >> 24);
    return bytes;
}

/// The quickest of some rounds of each, in turn, so that a disturbance meets both.
template <class Ours, class Other> double ratioOf(Ours ours, Other other)
{
    constexpr int pictures = 20;
    constexpr int rounds = 25;
    const auto timeOf = [](auto& work) {
        const auto start = Clock::now();
        for (int picture = 0; picture < pictures; ++picture)
            work();
        return Clock::now() - start;
    };
    auto oursBest = Clock::duration::max();
    auto otherBest = Clock::duration::max();
    for (int round = 0; round < rounds; ++round) {
        oursBest = std::min(oursBest, timeOf(ours));
        otherBest = std::min(otherBest, timeOf(other));
    }
    return milliseconds(oursBest) / milliseconds(otherBest);
}

/// What the source does with a sample, on its thread.
class Conversion {
public:
    Conversion(const std::string& caps, const std::vector<std::uint8_t>& bytes)
        : mSample(sampleOf(caps, bytes))
        , mReader(VideoSampleReader::readerOf(gst_sample_get_caps(mSample.get())))
    {
    }
    void setSample(const std::string& caps, const std::vector<std::uint8_t>& bytes) { mSample = sampleOf(caps, bytes); }
    void operator()()
    {
        const auto read = mReader ? mReader->read(mSample.get(), 0) : std::nullopt;
        if (!read || !mConverter.convert(read->frame, *mBuffer))
            throw std::runtime_error("a picture is not converted");
        mReader->finish();
    }
    std::uint8_t* pixels() const { return reinterpret_cast<std::uint8_t*>(mBuffer->baseAddress()); }

private:
    GstSampleOwner mSample;
    std::unique_ptr<VideoSampleReader> mReader;
    VideoFrameConverter mConverter;
    const Ref<CVPixelBuffer> mBuffer = make<CVPixelBuffer>(
        std::size_t { 1280 }, std::size_t { 720 }, kCVPixelFormatType_32BGRA, std::size_t { 5120 });
};

void measureConversions(const BenchRequest& request)
{
    gst_init(nullptr, nullptr);
    const int width = size.width;
    const int height = size.height;
    const auto compare = [&](const FigureName& figure, const char* form, std::size_t count, auto other) {
        if (!request.wants(figure.name))
            return;
        const auto bytes = noise(count);
        Conversion ours(capsOf(std::string("video/x-raw,format=") + form), bytes);
        auto* const pixels = ours.pixels();
        printFigure(request, figure, ratioOf(std::ref(ours), [&] { other(bytes.data(), pixels); }));
    };
    const auto yuy2 = [&](const std::uint8_t* from, std::uint8_t* to) {
        libyuv::YUY2ToARGB(from, width * 2, to, width * 4, width, height);
    };
    compare(captureYUY2, "YUY2", area * 2, yuy2);
    compare(captureYUY2HD, "YUY2,colorimetry=bt709", area * 2, yuy2);
    compare(captureNV12, "NV12", area * 3 / 2, [&](const std::uint8_t* from, std::uint8_t* to) {
        libyuv::NV12ToARGB(from, width, from + area, width, to, width * 4, width, height);
    });
    compare(captureI420, "I420", area * 3 / 2, [&](const std::uint8_t* from, std::uint8_t* to) {
        libyuv::I420ToARGB(
            from, width, from + area, width / 2, from + area * 5 / 4, width / 2, to, width * 4, width, height);
    });
    compare(captureBGRx, "BGRx", area * 4, [&](const std::uint8_t* from, std::uint8_t* to) {
        libyuv::ARGBCopy(from, width * 4, to, width * 4, width, height);
    });
    if (request.wants(captureJPEG.name)) {
        const auto file = encoded("videoconvert ! video/x-raw,format=Y42B ! jpegenc", 1).front();
        Conversion ours(capsOf("image/jpeg"), file);
        auto* const pixels = ours.pixels();
        printFigure(request, captureJPEG, ratioOf(std::ref(ours), [&] {
            libyuv::MJPGToARGB(file.data(), file.size(), pixels, width * 4, width, height, width, height);
        }));
    }
    if (request.wants(captureH264.name)) {
        const auto stream = encoded("x264enc tune=zerolatency speed-preset=veryfast bitrate=4000 ! "
                                    "video/x-h264,stream-format=byte-stream,alignment=au",
            120);
        const auto caps = capsOf("video/x-h264,stream-format=byte-stream,alignment=au");
        Conversion ours(caps, stream.front());
        auto spent = Clock::duration::zero();
        for (const auto& picture : stream) {
            ours.setSample(caps, picture);
            const auto start = Clock::now();
            ours();
            spent += Clock::now() - start;
        }
        printFigure(request, captureH264, milliseconds(spent) / static_cast<double>(stream.size()));
    }
}

/// A delegate that does nothing, and notes how long it took for that.
class IdleDelegate : public NSObject, public AVCaptureVideoDataOutputSampleBufferDelegate {
    NS_OBJECT(IdleDelegate)
public:
    void captureOutput_didOutputSampleBuffer_fromConnection(
        AVCaptureOutput* /*output*/, CMSampleBufferRef /*sampleBuffer*/, AVCaptureConnection* /*connection*/) override
    {
        ++called;
    }
    int called = 0;
};

void measureQueue(const BenchRequest& request)
{
    constexpr int pictures = 300;
    const AutoreleasePool pool;
    const auto output = make<AVCaptureVideoDataOutput>();
    const auto delegate = make<IdleDelegate>();
    const auto queue = dispatch_queue_create("CaptureFigures");
    output->setSampleBufferDelegate_queue(delegate, queue);
    output->setConnection(make<AVCaptureConnection>(AVMediaTypeVideo, nullptr, output.get()));
    const auto pictureMemory
        = make<CVPixelBufferPool>(std::size_t { 1280 }, std::size_t { 720 }, kCVPixelFormatType_32BGRA, nullptr);
    std::vector<double> shares;
    for (int picture = 0; picture < pictures; ++picture) {
        Ref<CVPixelBuffer> buffer;
        pictureMemory->createPixelBuffer(0, &buffer);
        std::promise<void> posted;
        std::promise<void> done;
        Clock::time_point start;
        // The queue waits until everything is posted, so that nothing but its own work lies between the two.
        dispatch_async(queue, [&] {
            posted.get_future().wait();
            start = Clock::now();
        });
        if (!output->admitFrame())
            throw std::runtime_error("a picture is refused");
        output->deliver(std::move(buffer), HostClock::nanoseconds(), 33'333'333);
        dispatch_async(queue, [&] {
            shares.push_back(milliseconds(Clock::now() - start));
            done.set_value();
        });
        posted.set_value();
        done.get_future().wait();
    }
    if (delegate->called != pictures)
        throw std::runtime_error("pictures did not reach the delegate");
    std::ranges::sort(shares);
    printFigure(request, captureQueue, shares[shares.size() * 99 / 100]);
}

/// Takes pictures as a session does, and lets each go when the next comes.
class SteadySink final : public CaptureSink {
public:
    CMVideoDimensions requestedDimensions() const override { return size; }
    CMVideoDimensions preferredDimensions() const override { return size; }
    bool admitPicture() override { return true; }
    void pictureCame(Ref<CVPixelBuffer> picture, std::int64_t /*hostTime*/, std::int64_t /*duration*/) override
    {
        // Surfaces are no memory of the heap; a new one is counted by its place.
        const bool isNew = mSurfaces.insert(picture->baseAddress()).second;
        mLast = std::move(picture);
        ++mPictures;
        if (mPictures == warmUp)
            mBefore = AllocationCounter::largeCount();
        else if (mPictures > warmUp)
            taken = static_cast<int>(AllocationCounter::largeCount() - mBefore) + (mNewSurfaces += isNew);
        pictures = mPictures;
    }
    void pictureFailed() override { failed = true; }
    void soundCame(std::vector<std::byte> /*samples*/, std::int64_t /*hostTime*/) override { }
    void sourceFailed(Ref<NSError> /*error*/) override { failed = true; }

    static constexpr int warmUp = 15;
    std::atomic<int> pictures { 0 };
    std::atomic<int> taken { 0 };
    std::atomic<bool> failed { false };

private:
    int mPictures = 0;
    int mNewSurfaces = 0;
    std::uint64_t mBefore = 0;
    std::set<const void*> mSurfaces;
    Ref<CVPixelBuffer> mLast;
};

/// What the thread of a camera takes once it runs.
int steadyAllocations(const std::string& caps, const std::vector<std::uint8_t>& bytes, int count)
{
    ChainCamera camera("appsrc", caps);
    camera.interval = std::chrono::milliseconds(25);
    SteadySink sink;
    GStreamerVideoSource source(sink, camera.device());
    if (source.start())
        throw std::runtime_error("the camera does not start");
    for (int picture = 0; picture < count; ++picture)
        camera.push(caps, bytes);
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (sink.pictures < count && !sink.failed && Clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    source.stop();
    if (sink.pictures < count)
        throw std::runtime_error("pictures are lost: " + caps);
    return sink.taken;
}

void measureAllocations(const BenchRequest& request)
{
    gst_init(nullptr, nullptr);
    // Some that fit, and some that are cut and scaled.
    const int count = std::clamp(static_cast<int>(request.seconds * 40 / 6), SteadySink::warmUp + 5, 300);
    int taken = 0;
    taken += steadyAllocations(capsOf("video/x-raw,format=YUY2"), noise(area * 2), count);
    taken += steadyAllocations(capsOf("video/x-raw,format=NV12"), noise(area * 3 / 2), count);
    taken += steadyAllocations(capsOf("video/x-raw,format=I420"), noise(area * 3 / 2), count);
    taken += steadyAllocations(
        "video/x-raw,format=YUY2,width=640,height=480,framerate=30/1", noise(std::size_t { 640 } * 480 * 2), count);
    taken += steadyAllocations("video/x-raw,format=NV12,width=1920,height=1080,framerate=30/1",
        noise(std::size_t { 1920 } * 1080 * 3 / 2), count);
    taken += steadyAllocations(capsOf("image/jpeg"), encoded("jpegenc", 1).front(), count);
    printFigure(request, captureAllocations, taken);
}

void measureTestPicture(const BenchRequest& request)
{
    const TestPicture picture(size);
    std::vector<std::byte> pixels(area * 4);
    TestPicture::Shown shown;
    constexpr int noon = 12 * 3600;
    constexpr std::uint32_t pictures = 300;
    picture.draw(pixels, 1280 * 4, 0, noon, shown);
    double best = 1e9;
    for (int attempt = 0; attempt < 5; ++attempt) {
        const double begin = processorMilliseconds();
        for (std::uint32_t number = 1; number <= pictures; ++number)
            picture.draw(pixels, 1280 * 4, number, noon + static_cast<int>(number / 30), shown);
        best = std::min(best, (processorMilliseconds() - begin) / pictures);
    }
    printFigure(request, captureTestPicture, best);
}

}

NS_IMPLEMENTATION(IdleDelegate, NSObject)
{
    type.message("captureOutput:didOutputSampleBuffer:fromConnection:",
        &IdleDelegate::captureOutput_didOutputSampleBuffer_fromConnection);
}

const std::vector<FigureName>& captureFigures()
{
    static const std::vector<FigureName> figures { captureYUY2, captureYUY2HD, captureNV12, captureI420, captureBGRx,
        captureJPEG, captureH264, captureQueue, captureAllocations, captureTestPicture };
    return figures;
}

void measureCapture(const BenchRequest& request)
{
    measureConversions(request);
    if (request.wants(captureQueue.name))
        measureQueue(request);
    if (request.wants(captureAllocations.name))
        measureAllocations(request);
    if (request.wants(captureTestPicture.name))
        measureTestPicture(request);
}
