#include "Platform/CoreMediaIO/CMIOHardware.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreVideo/CVPixelBufferPool.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSNotification.h"
#include "tests/CameraExtension/ExtensionProcess.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <filesystem>

using testing::ElementsAre;

namespace {

CMIOObjectPropertyAddress global(CMIOObjectPropertySelector selector)
{
    return { selector, kCMIOObjectPropertyScopeGlobal, kCMIOObjectPropertyElementMaster };
}

std::vector<CMIOObjectID> identifiers(CMIOObjectID object, const CMIOObjectPropertyAddress& address)
{
    std::uint32_t size = 0;
    EXPECT_EQ(CMIOObjectGetPropertyDataSize(object, &address, 0, nullptr, &size), noErr);
    std::vector<CMIOObjectID> list(size / sizeof(CMIOObjectID));
    EXPECT_EQ(CMIOObjectGetPropertyData(object, &address, 0, nullptr, size, &size, list.data()), noErr);
    list.resize(size / sizeof(CMIOObjectID));
    return list;
}

std::vector<CMIOObjectID> devices()
{
    return identifiers(kCMIOObjectSystemObject, global(kCMIOHardwarePropertyDevices));
}

template <class T> T scalar(CMIOObjectID object, CMIOObjectPropertySelector selector)
{
    const auto address = global(selector);
    T value {};
    std::uint32_t size = 0;
    EXPECT_EQ(CMIOObjectGetPropertyDataSize(object, &address, 0, nullptr, &size), noErr);
    EXPECT_EQ(size, sizeof value);
    EXPECT_EQ(CMIOObjectGetPropertyData(object, &address, 0, nullptr, sizeof value, &size, &value), noErr);
    EXPECT_EQ(size, sizeof value);
    return value;
}

Ref<CFType> object(CMIOObjectID owner, CMIOObjectPropertySelector selector)
{
    return Ref<CFType>::adopt(scalar<CFTypeRef>(owner, selector));
}

std::string text(CMIOObjectID owner, CMIOObjectPropertySelector selector)
{
    const auto value = object(owner, selector);
    auto* const string = kindOf<CFString>(value);
    return string ? string->string() : "no string";
}

constexpr CMIOObjectPropertySelector just = 0x6A757374;

/// Notes what came back of a queue, and where.
class Receiver : public NSObject {
    NS_OBJECT(Receiver)
public:
    static void altered(CMIOStreamID /*stream*/, CFTypeRef token, CFTypeRef refCon)
    {
        auto* const self = kindOf<Receiver>(refCon);
        if (!self)
            return;
        const std::lock_guard guard(self->mLock);
        self->mTokens.push_back(token);
    }
    std::vector<CFTypeRef> tokens() const
    {
        const std::lock_guard guard(mLock);
        return mTokens;
    }

private:
    mutable std::mutex mLock;
    std::vector<CFTypeRef> mTokens;
};

NS_IMPLEMENTATION(Receiver, NSObject)
{
    static_cast<void>(type);
}

/// Counts notifications of cameras.
class Observer : public NSObject {
    NS_OBJECT(Observer)
public:
    void connected(NSNotification* notification) { note("connected", notification); }
    void disconnected(NSNotification* notification) { note("disconnected", notification); }
    std::vector<std::string> seen;

private:
    void note(const char* what, NSNotification* notification)
    {
        auto* const uid = kindOf<CFString>(notification->object());
        seen.push_back(what + std::string(" ") + (uid ? uid->string() : "nothing")
            + (DispatchMain::isMainThread() ? "" : " elsewhere") + " devices " + std::to_string(devices().size()));
    }
};

NS_IMPLEMENTATION(Observer, NSObject)
{
    type.message("connected:", &Observer::connected);
    type.message("disconnected:", &Observer::disconnected);
}

class CMIOHardware : public testing::Test {
protected:
    static void SetUpTestSuite() { RuntimeFolder::shared(); }
    void SetUp() override
    {
        ASSERT_TRUE(eventually([] { return devices().empty(); }));
    }
    void TearDown() override { FailPoint::disarmAll(); }

    static CMIODeviceID device()
    {
        EXPECT_TRUE(eventually([] { return !devices().empty(); }));
        const auto list = devices();
        return list.empty() ? 0 : list.front();
    }
    static CMIOStreamID sink(CMIODeviceID device)
    {
        return identifiers(device, { kCMIODevicePropertyStreams, kCMIODevicePropertyScopeOutput, 0 }).at(0);
    }
    static CMIOStreamID source(CMIODeviceID device)
    {
        return identifiers(device, { kCMIODevicePropertyStreams, kCMIODevicePropertyScopeInput, 0 }).at(0);
    }

    /// A frame of a surface, stamped.
    static Ref<CMSampleBuffer> sample(OSType format = kCVPixelFormatType_32BGRA, bool hasSurface = true)
    {
        const auto surfaceAttributes = make<CFDictionary>();
        const auto attributes = make<CFDictionary>();
        if (hasSurface)
            attributes->set(kCVPixelBufferIOSurfacePropertiesKey, surfaceAttributes.get());
        Ref<CVPixelBuffer> pixels;
        EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 64, 32, format, attributes, &pixels), kCVReturnSuccess);
        Ref<CMFormatDescription> description;
        EXPECT_EQ(CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, pixels, &description), noErr);
        CMSampleTimingInfo timing;
        timing.presentationTimeStamp = CMClockGetTime(CMClockGetHostTimeClock());
        return make<CMSampleBuffer>(pixels, description, timing);
    }
    static OSStatus enqueue(CMSimpleQueueRef queue, Ref<CMSampleBuffer> sample)
    {
        return CMSimpleQueueEnqueue(queue, sample.leak());
    }

    const Ref<Receiver> receiver = make<Receiver>();
};

TEST_F(CMIOHardware, WithoutAnExtensionThereIsTheSystemObjectAndNoDevice)
{
    EXPECT_THAT(devices(), ElementsAre());
    EXPECT_EQ(scalar<std::uint32_t>(kCMIOObjectSystemObject, kCMIOObjectPropertyClass), kCMIOSystemObjectClassID);
    const auto address = global(kCMIOObjectPropertyClass);
    EXPECT_FALSE(CMIOObjectHasProperty(2, &address));
    std::uint32_t value = 0;
    std::uint32_t size = 0;
    EXPECT_EQ(CMIOObjectGetPropertyData(2, &address, 0, nullptr, 4, &size, &value), kCMIOHardwareBadObjectError);
    EXPECT_EQ(CMIODeviceStartStream(2, 4), kCMIOHardwareBadDeviceError);
    Ref<CMSimpleQueue> queue;
    EXPECT_EQ(CMIOStreamCopyBufferQueue(4, nullptr, nullptr, &queue), kCMIOHardwareBadStreamError);
    EXPECT_FALSE(queue);
}

TEST_F(CMIOHardware, TheSystemObjectRemembersWhetherScreenDevicesAreAllowed)
{
    const auto address = global(kCMIOHardwarePropertyAllowScreenCaptureDevices);
    const std::uint32_t allow = 1;
    EXPECT_EQ(CMIOObjectSetPropertyData(kCMIOObjectSystemObject, &address, 0, nullptr, sizeof allow, &allow), noErr);
    EXPECT_EQ(scalar<std::uint32_t>(kCMIOObjectSystemObject, kCMIOHardwarePropertyAllowScreenCaptureDevices), 1u);
    EXPECT_EQ(CMIOObjectSetPropertyData(kCMIOObjectSystemObject, &address, 0, nullptr, 2, &allow),
        kCMIOHardwareBadPropertySizeError);
    const auto list = global(kCMIOHardwarePropertyDevices);
    EXPECT_EQ(CMIOObjectSetPropertyData(kCMIOObjectSystemObject, &list, 0, nullptr, sizeof allow, &allow),
        kCMIOHardwareIllegalOperationError);
}

TEST_F(CMIOHardware, AnExtensionIsADeviceWithASourceAndASink)
{
    const ExtensionProcess extension;
    const auto camera = device();
    EXPECT_EQ(scalar<std::uint32_t>(camera, kCMIOObjectPropertyClass), kCMIODeviceClassID);
    EXPECT_EQ(text(camera, kCMIOObjectPropertyName), "Tovrin Camera");
    EXPECT_EQ(text(camera, kCMIODevicePropertyDeviceUID), "C7F6C893-F380-4B0C-B11A-CE0553A5F2DE");
    EXPECT_EQ(scalar<std::uint32_t>(camera, kCMIODevicePropertyTransportType), kCMIODeviceTransportTypeVirtual);
    EXPECT_FALSE(scalar<bool>(camera, kCMIODevicePropertyCanProcessAVCCommand));
    EXPECT_THAT(
        identifiers(camera, global(kCMIOObjectPropertyOwnedObjects)), ElementsAre(source(camera), sink(camera)));
    EXPECT_NE(source(camera), sink(camera));
    EXPECT_EQ(scalar<std::uint32_t>(source(camera), kCMIOStreamPropertyDirection), 1u);
    EXPECT_EQ(scalar<std::uint32_t>(sink(camera), kCMIOStreamPropertyDirection), 0u);
    EXPECT_EQ(scalar<double>(sink(camera), kCMIOStreamPropertyFrameRate), 30.0);

    EXPECT_EQ(object(source(camera), kCMIOStreamPropertyClock), CMClockGetHostTimeClock());
    EXPECT_EQ(object(sink(camera), kCMIOStreamPropertyClock), CMClockGetHostTimeClock());
    const auto clock = global(kCMIOStreamPropertyClock);
    EXPECT_FALSE(CMIOObjectHasProperty(camera, &clock)) << "only streams have one";
    bool isSettable = true;
    EXPECT_EQ(CMIOObjectIsPropertySettable(sink(camera), &clock, &isSettable), noErr);
    EXPECT_FALSE(isSettable);

    const auto formats = object(source(camera), kCMIOStreamPropertyFormatDescriptions);
    ASSERT_TRUE(kindOf<CFArray>(formats));
    ASSERT_EQ(kindOf<CFArray>(formats)->count(), 1u);
    auto* const format = kindOf<CMFormatDescription>(kindOf<CFArray>(formats)->objectAtIndex(0));
    ASSERT_TRUE(format);
    EXPECT_EQ(format->dimensions(), (CMVideoDimensions { 1280, 720 }));
}

TEST_F(CMIOHardware, ThePropertyJustIsASettableStringThatSaysThatNobodyWatches)
{
    const ExtensionProcess extension;
    const auto stream = source(device());
    const auto address = global(just);
    EXPECT_TRUE(CMIOObjectHasProperty(stream, &address));
    bool isSettable = false;
    EXPECT_EQ(CMIOObjectIsPropertySettable(stream, &address, &isSettable), noErr);
    EXPECT_TRUE(isSettable);
    CFTypeRef random = CFSTR("random");
    EXPECT_EQ(CMIOObjectSetPropertyData(stream, &address, 0, nullptr, sizeof random, &random), noErr);
    EXPECT_EQ(text(stream, just), "sc=0");

    CFTypeRef number = kCFBooleanTrue;
    EXPECT_EQ(CMIOObjectSetPropertyData(stream, &address, 0, nullptr, sizeof number, &number),
        kCMIOHardwareIllegalOperationError);
    EXPECT_EQ(CMIOObjectSetPropertyData(stream, &address, 0, nullptr, 4, &number), kCMIOHardwareBadPropertySizeError);
}

TEST_F(CMIOHardware, OtherPropertiesAreNotSettableAndUnknownOnesAreNotThere)
{
    const ExtensionProcess extension;
    const auto camera = device();
    const auto name = global(kCMIOObjectPropertyName);
    bool isSettable = true;
    EXPECT_EQ(CMIOObjectIsPropertySettable(camera, &name, &isSettable), noErr);
    EXPECT_FALSE(isSettable);
    CFTypeRef value = CFSTR("x");
    EXPECT_EQ(
        CMIOObjectSetPropertyData(camera, &name, 0, nullptr, sizeof value, &value), kCMIOHardwareIllegalOperationError);
    const CMIOObjectPropertyAddress wrongScope { kCMIOObjectPropertyName, kCMIODevicePropertyScopeInput, 0 };
    EXPECT_FALSE(CMIOObjectHasProperty(camera, &wrongScope));
    std::uint32_t size = 4;
    EXPECT_EQ(CMIOObjectGetPropertyDataSize(camera, &wrongScope, 0, nullptr, &size), kCMIOHardwareUnknownPropertyError);
    EXPECT_EQ(size, 0u);
    std::uint32_t small = 0;
    EXPECT_EQ(
        CMIOObjectGetPropertyData(camera, &name, 0, nullptr, 4, &size, &small), kCMIOHardwareBadPropertySizeError);
}

TEST_F(CMIOHardware, ABufferIsGivenBackOnceItWasConsumed)
{
    const ExtensionProcess extension;
    const auto camera = device();
    Ref<CMSimpleQueue> queue;
    ASSERT_EQ(CMIOStreamCopyBufferQueue(sink(camera), &Receiver::altered, receiver, &queue), noErr);
    ASSERT_TRUE(queue);
    const auto first = sample();
    ASSERT_EQ(enqueue(queue, first), noErr);
    EXPECT_EQ(CMSimpleQueueGetCount(queue), 1) << "nothing leaves before the stream is started";
    ASSERT_EQ(CMIODeviceStartStream(camera, sink(camera)), noErr);
    EXPECT_TRUE(eventually([&] { return receiver->tokens().size() == 1; }));
    EXPECT_EQ(receiver->tokens().front(), first.get());
    EXPECT_EQ(CMSimpleQueueGetCount(queue), 0);
    EXPECT_TRUE(eventually([&] { return first->retainCount() == 1; }));

    std::vector<CFTypeRef> sent { first.get() };
    std::vector<Ref<CMSampleBuffer>> kept;
    for (int index = 0; index < 100; ++index) {
        kept.push_back(sample());
        sent.push_back(kept.back().get());
        ASSERT_EQ(enqueue(queue, kept.back()), noErr);
        ASSERT_TRUE(eventually([&] { return receiver->tokens().size() == sent.size(); }));
    }
    EXPECT_EQ(receiver->tokens(), sent);
}

TEST_F(CMIOHardware, BuffersThatCannotBeShownComeBackInTheirTurn)
{
    const ExtensionProcess extension;
    const auto camera = device();
    Ref<CMSimpleQueue> queue;
    ASSERT_EQ(CMIOStreamCopyBufferQueue(sink(camera), &Receiver::altered, receiver, &queue), noErr);
    const std::vector<Ref<CMSampleBuffer>> samples { sample(kCVPixelFormatType_32BGRA, false), sample(),
        sample(kCVPixelFormatType_32ARGB), sample() };
    std::vector<CFTypeRef> sent;
    for (const auto& each : samples) {
        ASSERT_EQ(enqueue(queue, each), noErr);
        sent.push_back(each.get());
    }
    const auto word = make<CFString>("no sample at all");
    ASSERT_EQ(CMSimpleQueueEnqueue(queue, Ref<CFString>(word).leak()), noErr);
    sent.push_back(word.get());
    ASSERT_EQ(CMIODeviceStartStream(camera, sink(camera)), noErr);
    EXPECT_TRUE(eventually([&] { return receiver->tokens().size() == sent.size(); }));
    EXPECT_EQ(receiver->tokens(), sent);
}

TEST_F(CMIOHardware, ASurfaceOfAPoolIsAnnouncedOnceHoweverOftenItIsSent)
{
    const ExtensionProcess extension;
    const auto camera = device();
    Ref<CMSimpleQueue> queue;
    ASSERT_EQ(CMIOStreamCopyBufferQueue(sink(camera), &Receiver::altered, receiver, &queue), noErr);
    ASSERT_EQ(CMIODeviceStartStream(camera, sink(camera)), noErr);
    const auto again = sample();
    for (std::size_t count = 1; count <= 200; ++count) {
        ASSERT_EQ(enqueue(queue, again), noErr);
        ASSERT_TRUE(eventually([&] { return receiver->tokens().size() == count; }));
    }
    const auto descriptors = std::filesystem::path("/proc") / std::to_string(extension.identifier()) / "fd";
    std::size_t surfaces = 0;
    for (const auto& entry : std::filesystem::directory_iterator(descriptors)) {
        std::error_code error;
        const auto target = std::filesystem::read_symlink(entry.path(), error).string();
        surfaces += target.find("tovrin-surface") != std::string::npos;
    }
    EXPECT_EQ(surfaces, 1u);
}

TEST_F(CMIOHardware, ManySurfacesNeverMeetTheLimitOfTheOtherSide)
{
    const ExtensionProcess extension;
    const auto camera = device();
    Ref<CMSimpleQueue> queue;
    ASSERT_EQ(CMIOStreamCopyBufferQueue(sink(camera), &Receiver::altered, receiver, &queue), noErr);
    ASSERT_EQ(CMIODeviceStartStream(camera, sink(camera)), noErr);
    std::vector<Ref<CMSampleBuffer>> kept;
    for (std::size_t count = 1; count <= 2 * CameraWire::kMaximumSurfaces; ++count) {
        kept.push_back(sample());
        ASSERT_EQ(enqueue(queue, kept.back()), noErr);
        ASSERT_TRUE(eventually([&] { return receiver->tokens().size() == count; }));
    }
    EXPECT_EQ(devices().size(), 1u);
}

TEST_F(CMIOHardware, AReplacedQueueGivesItsBuffersBackAndTheNewOneGoesOn)
{
    const ExtensionProcess extension;
    const auto camera = device();
    Ref<CMSimpleQueue> earlier;
    ASSERT_EQ(CMIOStreamCopyBufferQueue(sink(camera), &Receiver::altered, receiver, &earlier), noErr);
    const std::vector<Ref<CMSampleBuffer>> samples { sample(), sample(), sample(), sample() };
    ASSERT_EQ(enqueue(earlier, samples[0]), noErr);
    ASSERT_EQ(enqueue(earlier, samples[1]), noErr);

    const auto next = make<Receiver>();
    Ref<CMSimpleQueue> later;
    ASSERT_EQ(CMIOStreamCopyBufferQueue(sink(camera), &Receiver::altered, next, &later), noErr);
    EXPECT_TRUE(eventually([&] { return receiver->tokens().size() == 2; }));
    EXPECT_THAT(receiver->tokens(), ElementsAre(samples[0].get(), samples[1].get()));

    ASSERT_EQ(enqueue(earlier, samples[2]), noErr);
    EXPECT_TRUE(eventually([&] { return receiver->tokens().size() == 3; })) << "a late buffer comes back too";

    ASSERT_EQ(CMIODeviceStartStream(camera, sink(camera)), noErr);
    ASSERT_EQ(enqueue(later, samples[3]), noErr);
    EXPECT_TRUE(eventually([&] { return next->tokens().size() == 1; }));
    EXPECT_EQ(receiver->tokens().size(), 3u);
}

TEST_F(CMIOHardware, AQueueOpenedOnARunningStreamNeedsNoSecondStart)
{
    const ExtensionProcess extension;
    const auto camera = device();
    ASSERT_EQ(CMIODeviceStartStream(camera, sink(camera)), noErr);
    Ref<CMSimpleQueue> queue;
    ASSERT_EQ(CMIOStreamCopyBufferQueue(sink(camera), &Receiver::altered, receiver, &queue), noErr);
    ASSERT_EQ(enqueue(queue, sample()), noErr);
    EXPECT_TRUE(eventually([&] { return receiver->tokens().size() == 1; }));
    ASSERT_EQ(CMIODeviceStopStream(camera, sink(camera)), noErr);
    ASSERT_EQ(enqueue(queue, sample()), noErr);
    EXPECT_EQ(CMSimpleQueueGetCount(queue), 1);
}

TEST_F(CMIOHardware, BuffersComeBackWhenTheExtensionDies)
{
    Ref<CMSimpleQueue> queue;
    const auto last = sample();
    {
        ExtensionProcess extension;
        const auto camera = device();
        ASSERT_EQ(CMIOStreamCopyBufferQueue(sink(camera), &Receiver::altered, receiver, &queue), noErr);
        ASSERT_EQ(CMIODeviceStartStream(camera, sink(camera)), noErr);
        extension.send(SIGSTOP);
        ASSERT_EQ(enqueue(queue, last), noErr);
        EXPECT_EQ(CMSimpleQueueGetCount(queue), 1);
        extension.send(SIGKILL);
        EXPECT_EQ(extension.waitForEnd(), -1);
    }
    EXPECT_TRUE(eventually([&] { return receiver->tokens().size() == 1; }));
    EXPECT_EQ(CMSimpleQueueGetCount(queue), 0);
    EXPECT_TRUE(eventually([] { return devices().empty(); }));
}

TEST_F(CMIOHardware, ACallbackWhoseControllerHasGoneIsNotCalled)
{
    const ExtensionProcess extension;
    const auto camera = device();
    Ref<CMSimpleQueue> queue;
    auto owner = make<Receiver>();
    ASSERT_EQ(CMIOStreamCopyBufferQueue(sink(camera), &Receiver::altered, owner, &queue), noErr);
    owner = nullptr;
    ASSERT_EQ(CMIODeviceStartStream(camera, sink(camera)), noErr);
    const auto only = sample();
    ASSERT_EQ(enqueue(queue, only), noErr);
    EXPECT_TRUE(eventually([&] { return CMSimpleQueueGetCount(queue) == 0 && only->retainCount() == 1; }));
}

TEST_F(CMIOHardware, AStuckExtensionCostsOneWaitAndAnswersAgainWhenItCan)
{
    const ExtensionProcess extension;
    const auto stream = source(device());
    extension.send(SIGSTOP);
    const auto address = global(just);
    CFTypeRef value = nullptr;
    std::uint32_t size = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int count = 0; count < 100; ++count)
        EXPECT_EQ(CMIOObjectGetPropertyData(stream, &address, 0, nullptr, sizeof value, &size, &value),
            kCMIOHardwareNotRunningError);
    const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited.count(), kCMIOExtensionTimeLimitSeconds);
    EXPECT_LT(waited.count(), kCMIOExtensionTimeLimitSeconds * 4);
    extension.send(SIGCONT);
    EXPECT_TRUE(eventually([&] {
        const auto status = CMIOObjectGetPropertyData(stream, &address, 0, nullptr, sizeof value, &size, &value);
        return status == noErr;
    }));
    Ref<CFType>::adopt(value);
}

TEST_F(CMIOHardware, ArrivalAndDepartureAreToldOnTheMainQueueAfterTheListChanged)
{
    DispatchMain::adoptCurrentThread();
    DispatchMain::drain();
    const auto observer = make<Observer>();
    auto* const center = NSNotificationCenter::defaultCenter();
    center->addObserver_selector_name_object(
        observer, "connected:", CFSTR("AVCaptureDeviceWasConnectedNotification"), nullptr);
    center->addObserver_selector_name_object(
        observer, "disconnected:", CFSTR("AVCaptureDeviceWasDisconnectedNotification"), nullptr);
    CMIOObjectID first = 0;
    {
        const ExtensionProcess extension;
        EXPECT_TRUE(DispatchMain::runUntil([&] { return observer->seen.size() == 1; }, 10));
        first = device();
    }
    EXPECT_TRUE(DispatchMain::runUntil([&] { return observer->seen.size() == 2; }, 10));
    EXPECT_THAT(observer->seen,
        ElementsAre("connected C7F6C893-F380-4B0C-B11A-CE0553A5F2DE devices 1",
            "disconnected C7F6C893-F380-4B0C-B11A-CE0553A5F2DE devices 0"));
    const ExtensionProcess another;
    EXPECT_NE(device(), first);
    const auto address = global(kCMIOObjectPropertyClass);
    EXPECT_FALSE(CMIOObjectHasProperty(first, &address));
}

TEST_F(CMIOHardware, EachCallFailsAtItsFailPoint)
{
    const ExtensionProcess extension;
    const auto camera = device();
    const auto address = global(kCMIOObjectPropertyName);
    const auto stream = sink(camera);
    for (const char* const name : { "CMIOObjectHasProperty", "CMIOObjectIsPropertySettable",
             "CMIOObjectGetPropertyDataSize", "CMIOObjectGetPropertyData", "CMIOObjectSetPropertyData",
             "CMIODeviceStartStream", "CMIODeviceStopStream", "CMIOStreamCopyBufferQueue" })
        FailPoint::arm(name, -77);
    bool isSettable = true;
    std::uint32_t size = 1;
    CFTypeRef value = nullptr;
    Ref<CMSimpleQueue> queue;
    EXPECT_FALSE(CMIOObjectHasProperty(camera, &address));
    EXPECT_EQ(CMIOObjectIsPropertySettable(camera, &address, &isSettable), -77);
    EXPECT_EQ(CMIOObjectGetPropertyDataSize(camera, &address, 0, nullptr, &size), -77);
    EXPECT_EQ(CMIOObjectGetPropertyData(camera, &address, 0, nullptr, sizeof value, &size, &value), -77);
    EXPECT_EQ(CMIOObjectSetPropertyData(camera, &address, 0, nullptr, sizeof value, &value), -77);
    EXPECT_EQ(CMIODeviceStartStream(camera, stream), -77);
    EXPECT_EQ(CMIODeviceStopStream(camera, stream), -77);
    EXPECT_EQ(CMIOStreamCopyBufferQueue(stream, nullptr, nullptr, &queue), -77);
}

}
