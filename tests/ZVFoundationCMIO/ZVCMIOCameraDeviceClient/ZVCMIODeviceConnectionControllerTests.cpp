#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIODeviceConnectionController.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/CameraExtension/ExtensionProcess.h"
#include "tests/ZVFoundationCMIO/ZVCMIOCameraDeviceClient/LoggedLines.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceList.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

#include <gtest/gtest.h>

namespace {

class ConnectionListener : public NSObject, public ZVCMIODeviceConnectionControllerDelegate {
    NS_OBJECT(ConnectionListener)
public:
    void deviceConnectionTimerConnect(ZVCMIODeviceConnectionController*) override { ++ticks; }
    std::atomic<int> ticks { 0 };
};

NS_IMPLEMENTATION(ConnectionListener, NSObject)
{
    type.message("deviceConnectionTimerConnect:", &ConnectionListener::deviceConnectionTimerConnect);
}

/// Gives no frame and counts how often it was asked for one.
class FrameCounter : public NSObject, public ZVCMIOClientDeviceControllerDelegate {
    NS_OBJECT(FrameCounter)
public:
    Ref<CVPixelBuffer> copyFramePixelBufferWithPresentationTime(const CMTime&) override
    {
        ++asked;
        return nullptr;
    }
    std::atomic<int> asked { 0 };
};

NS_IMPLEMENTATION(FrameCounter, NSObject)
{
    type.message("copyFramePixelBufferWithPresentationTime:", &FrameCounter::copyFramePixelBufferWithPresentationTime);
}

bool cameraIsThere()
{
    const AutoreleasePool pool;
    return ZVCMIOClientDeviceList::deviceList()->deviceWithUID(CMIOOutputViewController_CMIOExtension_DeviceUUID);
}

/// Conforms, but answers to nothing.
class DeafListener : public NSObject, public ZVCMIODeviceConnectionControllerDelegate {
public:
    void deviceConnectionTimerConnect(ZVCMIODeviceConnectionController*) override { called = true; }
    std::atomic<bool> called { false };
};

class Connection : public testing::Test {
protected:
    void SetUp() override
    {
        HostClock::driveByHand(true);
        mConnection->setCameraDevice(mDevice);
    }
    void TearDown() override
    {
        mConnection->stopTimer();
        HostClock::driveByHand(false);
    }
    static void advance(std::int64_t nanoseconds)
    {
        HostClock::advance(nanoseconds);
        dispatch_sync(ZVCMIODispatchTimerWeakTarget::sTimerQueue(), [] {});
    }
    AutoreleasePool mPool;
    Ref<ZVCMIOClientDeviceController> mDevice = make<ZVCMIOClientDeviceController>();
    Ref<ZVCMIODeviceConnectionController> mConnection = make<ZVCMIODeviceConnectionController>();
};

}

TEST_F(Connection, WithoutARateHasNoTimersAndSaysSo)
{
    EXPECT_EQ(mConnection->cameraRenderFrameRate(), 0.0);
    EXPECT_EQ(mConnection->cameraRenderFrameRateSeconds(), 0.0);
    EXPECT_EQ(loggedLines([&] { mConnection->startTimer(); }),
        "REQUIREMENT - SRC>>self.cameraRenderFrameRate>0 in ZVCMIODeviceConnectionController.cpp:# (startTimer)\n");
    EXPECT_EQ(mConnection->timerRender(), nullptr);
    EXPECT_EQ(mConnection->timerConnect(), nullptr);
}

TEST_F(Connection, KeepsTheUIDThatItCouldNotUseYet)
{
    EXPECT_EQ(loggedLines([&] { mConnection->setCMIOCameraDeviceUUID(CFSTR("U-I-D")); }),
        "REQUIREMENT - SRC>>self.cameraRenderFrameRate>0 in ZVCMIODeviceConnectionController.cpp:# "
        "(setCMIOCameraDeviceUUID)\n");
    EXPECT_EQ(mConnection->CMIOCameraDeviceUUID(), CFSTR("U-I-D"));
}

TEST_F(Connection, ANullUIDStartsNothing)
{
    mDevice->setCameraFrameRate(30);
    mConnection->setCMIOCameraDeviceUUID(nullptr);
    EXPECT_EQ(mConnection->timerRender(), nullptr);
    EXPECT_EQ(mConnection->CMIOCameraDeviceUUID(), nullptr);
}

TEST_F(Connection, TicksAtTheCamerasRateAndEveryThreeSeconds)
{
    mDevice->setCameraFrameRate(30);
    const auto listener = make<ConnectionListener>();
    mConnection->setDelegate(listener);
    mConnection->startTimer();
    ASSERT_NE(mConnection->timerRender(), nullptr);
    EXPECT_EQ(mConnection->timerRender()->timerInterval(), 1.0 / 30.0);
    EXPECT_EQ(mConnection->timerConnect()->timerInterval(), 3.0);
    advance(2'999'999'999);
    EXPECT_EQ(listener->ticks, 0);
    advance(1);
    EXPECT_EQ(listener->ticks, 1);
    advance(3'000'000'000);
    EXPECT_EQ(listener->ticks, 2);
}

TEST_F(Connection, AListenerWithoutTheOperationIsNotCalled)
{
    mDevice->setCameraFrameRate(30);
    const auto listener = make<DeafListener>();
    mConnection->setDelegate(listener);
    mConnection->_dispatchTimerConnect();
    EXPECT_FALSE(listener->called);
}

TEST_F(Connection, AnotherStartClosesTheGateUntilTheNextPoll)
{
    mDevice->setCameraFrameRate(30);
    mConnection->startTimer();
    auto* const render = mConnection->timerRender();
    mConnection->setDeviceStreamingReady(true);
    mConnection->startTimer();
    EXPECT_FALSE(mConnection->deviceStreamingReady());
    EXPECT_EQ(mConnection->timerRender(), render);
}

TEST_F(Connection, APollOpensAndClosesTheGate)
{
    mDevice->setNeedToStream(true);
    mConnection->_dispatchTimerConnect();
    EXPECT_TRUE(mConnection->deviceStreamingReady());
    mDevice->setNeedToStream(false);
    mConnection->_dispatchTimerConnect();
    EXPECT_FALSE(mConnection->deviceStreamingReady());
}

TEST_F(Connection, ACameraThatComesOrGoesMakesItConnectAgain)
{
    const auto connection = make<ZVCMIODeviceConnectionController>();
    connection->setCameraDevice(mDevice);
    connection->setCameraDeviceUUID(CFSTR("an absent camera"));
    connection->awakeFromNib();
    EXPECT_EQ(mDevice->cameraDeviceUUID(), nullptr);
    NSNotificationCenter::defaultCenter()->postNotificationName_object(
        CFSTR("AVCaptureDeviceWasDisconnectedNotification"), nullptr);
    EXPECT_EQ(mDevice->cameraDeviceUUID(), CFSTR("an absent camera"));
}

TEST_F(Connection, FromLaunchToTheFirstFrameWhenTheUIDComesBeforeTheDevice)
{
    const ExtensionProcess extension;
    ASSERT_TRUE(eventually(cameraIsThere));
    const auto connection = make<ZVCMIODeviceConnectionController>();
    const auto frames = make<FrameCounter>();
    mDevice->setDelegate(frames);
    mDevice->setCameraFrameRate(30);
    const auto early
        = loggedLines([&] { connection->setCMIOCameraDeviceUUID(CMIOOutputViewController_CMIOExtension_DeviceUUID); });
    EXPECT_EQ(early,
        "REQUIREMENT - SRC>>self.cameraRenderFrameRate>0 in ZVCMIODeviceConnectionController.cpp:# "
        "(setCMIOCameraDeviceUUID)\n");
    connection->setCameraDevice(mDevice);
    connection->establishCameraConnection();
    EXPECT_TRUE(mDevice->deviceConnected());
    EXPECT_NE(mDevice->sinkQueue(), nullptr);
    // The poll hears no answer and keeps what it knew: somebody watches.
    mDevice->setNeedToStream(true);
    const FailPoint::Scope silent("CMIOObjectGetPropertyData", kCMIOHardwareNotRunningError);
    loggedLines([&] {
        advance(2'999'999'999);
        EXPECT_EQ(frames->asked, 0) << "before the first poll";
        advance(1);
        EXPECT_TRUE(connection->deviceStreamingReady());
        advance(33'333'333);
        EXPECT_EQ(frames->asked, 1);
        connection->establishCameraConnection();
        advance(33'333'333);
        EXPECT_EQ(frames->asked, 1) << "another launch closes the gate";
        connection->stopTimer();
    });
}

TEST_F(Connection, ADeviceThatIsThereFirstConnectsWithTheUIDAndAgainLater)
{
    const ExtensionProcess extension;
    ASSERT_TRUE(eventually(cameraIsThere));
    mDevice->setCameraFrameRate(30);
    mConnection->setCMIOCameraDeviceUUID(CMIOOutputViewController_CMIOExtension_DeviceUUID);
    EXPECT_TRUE(mDevice->deviceConnected());
    auto* const render = mConnection->timerRender();
    ASSERT_NE(render, nullptr);
    const auto queue = mDevice->sinkQueueRetainedCopy();
    ASSERT_NE(queue, nullptr);
    mConnection->setDeviceStreamingReady(true);
    EXPECT_EQ(loggedLines([&] { mConnection->establishCameraConnection(); }), "");
    EXPECT_EQ(mConnection->timerRender(), render);
    EXPECT_FALSE(mConnection->deviceStreamingReady());
    EXPECT_NE(mDevice->sinkQueue(), queue.get());
}

TEST_F(Connection, APollFindsACameraThatComesLater)
{
    mDevice->setCameraFrameRate(30);
    mConnection->setCMIOCameraDeviceUUID(CMIOOutputViewController_CMIOExtension_DeviceUUID);
    EXPECT_FALSE(mDevice->deviceConnected());
    const ExtensionProcess extension;
    ASSERT_TRUE(eventually(cameraIsThere));
    loggedLines([&] { advance(3'000'000'000); });
    EXPECT_TRUE(mDevice->deviceConnected());
}

TEST_F(Connection, AReplacedExtensionIsConnectedToAgain)
{
    DispatchMain::adoptCurrentThread();
    const auto connection = make<ZVCMIODeviceConnectionController>();
    connection->setCameraDevice(mDevice);
    connection->setCameraDeviceUUID(CMIOOutputViewController_CMIOExtension_DeviceUUID);
    connection->awakeFromNib();
    // As at launch: cameras are watched from the first look on.
    connection->actionUpdateConnectedDevices(nullptr);
    CMIODeviceID first = 0;
    {
        const ExtensionProcess extension;
        EXPECT_TRUE(DispatchMain::runUntil([&] { return mDevice->deviceConnected(); }, 10));
        first = mDevice->cameraDeviceID();
    }
    const ExtensionProcess another;
    EXPECT_TRUE(DispatchMain::runUntil([&] { return mDevice->cameraDeviceID() != first; }, 10));
    loggedLines([&] { EXPECT_EQ(textOf(mDevice->cameraDeviceName()), "Tovrin Camera"); });
    mDevice->setNeedToStream(true);
    EXPECT_EQ(loggedLines([&] { EXPECT_FALSE(mDevice->queryDeviceNeedsToStream()); }), "just_property = 'sc=0'\n");
}
