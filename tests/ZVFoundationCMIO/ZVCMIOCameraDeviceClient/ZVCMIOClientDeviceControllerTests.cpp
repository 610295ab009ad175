#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceController.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/CameraExtension/ExtensionProcess.h"
#include "tests/ZVFoundationCMIO/ZVCMIOCameraDeviceClient/LoggedLines.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

Ref<CVPixelBuffer> picture(std::size_t width = 1280, std::size_t height = 720)
{
    Ref<CVPixelBuffer> buffer;
    const auto attributes
        = CFDictionary::create({ { kCVPixelBufferIOSurfacePropertiesKey, CFDictionary::create().get() } });
    CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, attributes, &buffer);
    return buffer;
}

class FrameSource : public NSObject, public ZVCMIOClientDeviceControllerDelegate {
    NS_OBJECT(FrameSource)
public:
    Ref<CVPixelBuffer> copyFramePixelBufferWithPresentationTime(const CMTime&) override
    {
        ++asked;
        return frame;
    }
    Ref<CVPixelBuffer> frame = picture();
    int asked = 0;
};

NS_IMPLEMENTATION(FrameSource, NSObject)
{
    type.message("copyFramePixelBufferWithPresentationTime:", &FrameSource::copyFramePixelBufferWithPresentationTime);
}

/// A controller with a queue of its own in place of a sink stream's.
class DeviceController : public testing::Test {
protected:
    void SetUp() override
    {
        CMSimpleQueueCreate(kCFAllocatorDefault, 8, &mQueue);
        mController->setSinkQueue(mQueue);
        mController->setDelegate(mSource);
        mController->setNeedToStream(true);
    }
    void TearDown() override
    {
        while (auto* const element = CMSimpleQueueDequeue(mQueue))
            Ref<CFType>::adopt(element);
    }
    std::int32_t waiting() const { return CMSimpleQueueGetCount(mQueue); }

    AutoreleasePool mPool;
    Ref<CMSimpleQueue> mQueue;
    Ref<FrameSource> mSource = make<FrameSource>();
    Ref<ZVCMIOClientDeviceController> mController = make<ZVCMIOClientDeviceController>();
};

}

TEST_F(DeviceController, TheFirstFrameNeedsNoPermissionTheNextOneDoes)
{
    EXPECT_FALSE(mController->readyToEnqueue());
    mController->publishFrameBufferToCameraExtension();
    EXPECT_EQ(waiting(), 1);
    EXPECT_TRUE(mController->enqueued());
    EXPECT_EQ(loggedLines([&] { mController->publishFrameBufferToCameraExtension(); }), "");
    EXPECT_EQ(waiting(), 1);
    const auto taken = Ref<CFType>::adopt(CMSimpleQueueDequeue(mQueue));
    mController->sinkQueueAltered_token(1, taken);
    mController->publishFrameBufferToCameraExtension();
    EXPECT_EQ(waiting(), 1);
    EXPECT_EQ(mSource->asked, 2);
}

TEST_F(DeviceController, NobodyWatchingMeansNothingGoesOut)
{
    mController->setNeedToStream(false);
    mController->publishFrameBufferToCameraExtension();
    EXPECT_EQ(mSource->asked, 0);
    EXPECT_EQ(waiting(), 0);
}

TEST_F(DeviceController, AFrameIsStampedWithTheHostClockAndNothingElse)
{
    const auto before = CMClockGetTime(CMClockGetHostTimeClock());
    mController->publishFrameBufferToCameraExtension();
    const auto element = Ref<CFType>::adopt(CMSimpleQueueDequeue(mQueue));
    auto* const sample = kindOf<CMSampleBuffer>(element);
    ASSERT_NE(sample, nullptr);
    EXPECT_EQ(CMSampleBufferGetImageBuffer(sample), mSource->frame.get());
    EXPECT_GE(CMTimeCompare(CMSampleBufferGetPresentationTimeStamp(sample), before), 0);
    EXPECT_FALSE(CMTIME_IS_VALID(sample->timing().duration));
    EXPECT_FALSE(CMTIME_IS_VALID(sample->timing().decodeTimeStamp));
    EXPECT_EQ(sample->retainCount(), 1);
}

TEST_F(DeviceController, TwoWaitingBuffersPublishThreeDoNot)
{
    for (int i = 0; i < 2; ++i)
        CMSimpleQueueEnqueue(mQueue, Ref<CFType>(mSource).leak());
    mController->publishFrameBufferToCameraExtension();
    EXPECT_EQ(waiting(), 3);
    mController->setReadyToEnqueue(true);
    EXPECT_EQ(loggedLines([&] { mController->publishFrameBufferToCameraExtension(); }),
        "REQUIREMENT - SRC>>CMSimpleQueueGetCount(self.sinkQueue)<3 in ZVCMIOClientDeviceController.cpp:# "
        "(publishFrameBufferToCameraExtension)\n");
    EXPECT_EQ(waiting(), 3);
    EXPECT_TRUE(mController->readyToEnqueue());
    EXPECT_TRUE(mController->enqueued());
}

TEST_F(DeviceController, WithoutAFrameTheStateWaitsForTheNextCallback)
{
    mController->setEnqueued(true);
    mController->setReadyToEnqueue(true);
    mSource->frame = nullptr;
    const auto lines = loggedLines([&] { mController->publishFrameBufferToCameraExtension(); });
    EXPECT_NE(lines.find("outputPixelBuffer==NULL"), std::string::npos) << lines;
    EXPECT_TRUE(mController->enqueued());
    EXPECT_FALSE(mController->readyToEnqueue());
}

TEST_F(DeviceController, AFailedEnqueueLetsTheNextTickTryAgain)
{
    {
        const FailPoint::Scope armed("CMSimpleQueueEnqueue", kCMSimpleQueueError_QueueIsFull);
        const auto lines = loggedLines([&] { mController->publishFrameBufferToCameraExtension(); });
        EXPECT_NE(lines.find("SRC>>CMSimpleQueueEnqueue(queue,sampleBuffer)"), std::string::npos) << lines;
    }
    EXPECT_FALSE(mController->enqueued());
    EXPECT_EQ(mSource->frame->retainCount(), 1) << "the refused sample was kept";
    mController->publishFrameBufferToCameraExtension();
    EXPECT_EQ(waiting(), 1);
}

TEST_F(DeviceController, ATokenThatIsNoSampleIsReportedAndStillCounts)
{
    const auto lines = loggedLines([&] { mController->sinkQueueAltered_token(1, nullptr); });
    EXPECT_EQ(lines,
        "REQUIRED_CFTYPEOF sampleBuffer==NULL : in sinkQueueAltered_token LINE# # "
        "(ZVCMIOClientDeviceController.cpp)\n\n");
    EXPECT_TRUE(mController->readyToEnqueue());
}

TEST_F(DeviceController, KeepsItsFormatUntilAFrameNoLongerFits)
{
    mController->publishFrameBufferToCameraExtension();
    const auto format = mController->outputVideoFormatDescriptionRetainedCopy();
    mController->setEnqueued(false);
    mController->publishFrameBufferToCameraExtension();
    EXPECT_EQ(mController->outputVideoFormatDescription(), format.get());
    mController->setEnqueued(false);
    mSource->frame = picture(640, 480);
    EXPECT_EQ(loggedLines([&] { mController->publishFrameBufferToCameraExtension(); }),
        "REQUIREMENT - "
        "SRC>>CMVideoFormatDescriptionMatchesImageBuffer(self.outputVideoFormatDescription,outputPixelBuffer) in "
        "ZVCMIOClientDeviceController.cpp:# (setOutputVideoFormatDescriptionWithCVPixelBuffer)\n");
    EXPECT_EQ(CMVideoFormatDescriptionGetDimensions(mController->outputVideoFormatDescription()).width, 640);
    EXPECT_EQ(waiting(), 3);
}

TEST_F(DeviceController, AFormatThatCannotBeMadeIsReportedTwiceAndTheFrameIsLost)
{
    const FailPoint::Scope armed("CMVideoFormatDescriptionCreateForImageBuffer", -12710);
    const auto lines = loggedLines([&] { mController->publishFrameBufferToCameraExtension(); });
    EXPECT_NE(lines.find("newVideoFormatDesc==NULL"), std::string::npos) << lines;
    EXPECT_NE(lines.find("self.outputVideoFormatDescription==NULL"), std::string::npos) << lines;
    EXPECT_EQ(waiting(), 0);
}

TEST_F(DeviceController, WithoutAQueueReportsIt)
{
    mController->setSinkQueue(nullptr);
    const auto lines = loggedLines([&] { mController->publishFrameBufferToCameraExtension(); });
    EXPECT_EQ(lines.find("REQUIRED_CFTYPEOF self.sinkQueue==NULL : in publishFrameBufferToCameraExtension"), 0U)
        << lines;
    EXPECT_EQ(mSource->asked, 0);
}

TEST_F(DeviceController, WithoutACameraIsQuietAndAnswersWhatItKnew)
{
    mController->setNeedToStream(false);
    EXPECT_EQ(loggedLines([&] {
        mController->connectToCameraExtensionWithDeviceUID(CFSTR("no such camera"));
        EXPECT_FALSE(mController->queryDeviceNeedsToStream());
        mController->connectToCameraExtensionWithDeviceUID(nullptr);
        mController->connectToCameraExtensionWithDeviceUID(kCFNull);
    }),
        "");
    EXPECT_FALSE(mController->deviceConnected());
    EXPECT_EQ(loggedLines([&] { EXPECT_EQ(mController->cameraDeviceName()->string(), ""); }),
        "REQUIREMENT - SRC>>self.deviceConnected in ZVCMIOClientDeviceController.cpp:# (cameraDeviceName)\n");
}

TEST_F(DeviceController, DisconnectingClearsTheSourceAndNotTheSink)
{
    EXPECT_EQ(loggedLines([&] { mController->_disconnectCameraDevice(); }),
        "REQUIREMENT - SRC>>_sinkStreamID!=0 in ZVCMIOClientDeviceController.cpp:# (_disconnectCameraDevice)\n");
    EXPECT_EQ(mController->sinkQueue(), nullptr);
}

TEST_F(DeviceController, AgainstTheExtensionConnectsPollsAndPublishes)
{
    ExtensionProcess extension;
    const auto controller = make<ZVCMIOClientDeviceController>();
    controller->setDelegate(mSource);
    ASSERT_TRUE(eventually([&] {
        const AutoreleasePool pool;
        controller->connectToCameraExtensionWithDeviceUID(CMIOOutputViewController_CMIOExtension_DeviceUUID);
        return controller->deviceConnected();
    }));
    EXPECT_NE(controller->sourceStreamID(), 0U);
    EXPECT_NE(controller->sinkStreamID(), 0U);
    EXPECT_FALSE(controller->cameraDeviceName()->string().empty());
    const auto polled = loggedLines([&] { EXPECT_FALSE(controller->queryDeviceNeedsToStream()); });
    EXPECT_EQ(polled, "just_property = 'sc=0'\n");
    // Publication does not look at consumers itself: with the gate open each frame goes over and comes back.
    controller->setNeedToStream(true);
    for (int i = 0; i < 5; ++i) {
        controller->publishFrameBufferToCameraExtension();
        ASSERT_TRUE(controller->enqueued());
        ASSERT_TRUE(eventually([&] { return controller->readyToEnqueue(); })) << "frame " << i;
    }
    EXPECT_EQ(CMSimpleQueueGetCount(controller->sinkQueue()), 0);
    const auto stopped = loggedLines([&] { controller->_disconnectCameraDevice(); });
    EXPECT_EQ(stopped, "");
    EXPECT_EQ(controller->sourceStreamID(), 0U);
    EXPECT_NE(controller->sinkStreamID(), 0U);
}

TEST_F(DeviceController, AnExtensionThatDiesGivesItsBuffersBack)
{
    ExtensionProcess extension;
    const auto controller = make<ZVCMIOClientDeviceController>();
    controller->setDelegate(mSource);
    ASSERT_TRUE(eventually([&] {
        const AutoreleasePool pool;
        controller->connectToCameraExtensionWithDeviceUID(CMIOOutputViewController_CMIOExtension_DeviceUUID);
        return controller->deviceConnected();
    }));
    controller->setNeedToStream(true);
    extension.send(SIGSTOP);
    controller->publishFrameBufferToCameraExtension();
    EXPECT_TRUE(controller->enqueued());
    extension.send(SIGKILL);
    EXPECT_EQ(extension.waitForEnd(), -1);
    EXPECT_TRUE(eventually([&] { return controller->readyToEnqueue(); }));
}

namespace {

/// A controller that is connected to the extension.
class ConnectedDeviceController : public DeviceController {
protected:
    void SetUp() override
    {
        DeviceController::SetUp();
        ASSERT_TRUE(eventually([&] {
            const AutoreleasePool pool;
            connect();
            return mController->deviceConnected();
        }));
    }
    void connect()
    {
        mController->connectToCameraExtensionWithDeviceUID(CMIOOutputViewController_CMIOExtension_DeviceUUID);
    }
    ExtensionProcess mExtension;
};

bool has(const std::string& lines, const std::string& text)
{
    return lines.find(text) != std::string::npos;
}

}

TEST_F(ConnectedDeviceController, AQueueThatCannotBeOpenedIsReportedAndLeavesNone)
{
    const FailPoint::Scope refused("CMIOStreamCopyBufferQueue", kCMIOHardwareUnspecifiedError);
    const auto lines = loggedLines([&] { connect(); });
    EXPECT_TRUE(has(lines,
        "SRC>>CMIOStreamCopyBufferQueue(_sinkStreamID,sCMIODeviceStreamQueueAlteredProc,(__bridge "
        "void*)self,&sinkQueue)"))
        << lines;
    char number[16];
    std::snprintf(number, sizeof number, "%02u", mController->sinkStreamID());
    EXPECT_TRUE(lines.ends_with("CMIOStreamCopyBufferQueue failed/incorrect " + std::string(number) + " ((null))\n"))
        << lines;
    EXPECT_EQ(mController->sinkQueue(), nullptr);
    EXPECT_TRUE(mController->deviceConnected());
}

TEST_F(ConnectedDeviceController, TheNumberOfAFailedStreamHasTwoDigits)
{
    const auto lines = loggedLines([&] { mController->_initSinkWithSinkStreamID(kCMIOObjectSystemObject); });
    EXPECT_TRUE(lines.ends_with("CMIOStreamCopyBufferQueue failed/incorrect 01 ((null))\n")) << lines;
    EXPECT_EQ(loggedLines([&] { mController->_initSinkWithSinkStreamID(kCMIOObjectUnknown); }),
        "REQUIREMENT - SRC>>sinkStreamID!=0 in ZVCMIOClientDeviceController.cpp:# (_initSinkWithSinkStreamID)\n");
    EXPECT_EQ(mController->sinkStreamID(), kCMIOObjectSystemObject);
}

TEST_F(ConnectedDeviceController, AStreamThatDoesNotStartOrStopIsReported)
{
    {
        const FailPoint::Scope refused("CMIODeviceStartStream", kCMIOHardwareUnspecifiedError);
        const auto lines = loggedLines([&] { connect(); });
        EXPECT_TRUE(has(lines, "SRC>>CMIODeviceStartStream(_cameraDeviceID,_sinkStreamID)")) << lines;
        EXPECT_FALSE(has(lines, "failed/incorrect")) << lines;
        EXPECT_NE(mController->sinkQueue(), nullptr);
    }
    const FailPoint::Scope refused("CMIODeviceStopStream", kCMIOHardwareUnspecifiedError);
    const auto lines = loggedLines([&] { mController->_disconnectCameraDevice(); });
    EXPECT_TRUE(has(lines, "SRC>>CMIODeviceStopStream(_cameraDeviceID,_sinkStreamID)")) << lines;
    EXPECT_EQ(mController->sinkQueue(), nullptr);
    EXPECT_NE(mController->cameraDeviceID(), 0U);
    EXPECT_NE(mController->cameraDevice(), nullptr);
}

TEST_F(ConnectedDeviceController, APollWhoseWriteIsRefusedReadsAllTheSame)
{
    const FailPoint::Scope refused("CMIOObjectSetPropertyData", kCMIOHardwareUnspecifiedError);
    const auto lines = loggedLines([&] { EXPECT_FALSE(mController->queryDeviceNeedsToStream()); });
    EXPECT_TRUE(has(lines,
        "SRC>>ZVCMIOClientObjectSetPropertyString(_sourceStreamID,kZVCMIOClientDeviceStreamingPropertyCode,"
        "((CFStringRef) __builtin___CFStringMakeConstantString (\"\" \"random\" \"\")))"))
        << lines;
    EXPECT_TRUE(lines.ends_with("just_property = 'sc=0'\n")) << lines;
}

TEST_F(ConnectedDeviceController, APollWithoutAStringChangesNothing)
{
    const FailPoint::Scope refused("CMIOObjectGetPropertyData", kCMIOHardwareUnspecifiedError);
    for (const bool need : { true, false }) {
        mController->setNeedToStream(need);
        const auto lines = loggedLines([&] { EXPECT_EQ(mController->queryDeviceNeedsToStream(), need); });
        EXPECT_TRUE(has(lines, "REQUIRED_CFTYPEOF just_property==NULL : in queryDeviceNeedsToStream")) << lines;
        EXPECT_FALSE(has(lines, "just_property = '")) << lines;
    }
}

TEST_F(ConnectedDeviceController, APollAfterDisconnectingReportsTheMissingSource)
{
    mController->_disconnectCameraDevice();
    EXPECT_EQ(loggedLines([&] { EXPECT_TRUE(mController->queryDeviceNeedsToStream()); }),
        "REQUIREMENT - SRC>>_sourceStreamID!=0 in ZVCMIOClientDeviceController.cpp:# (queryDeviceNeedsToStream)\n");
}

TEST_F(ConnectedDeviceController, AnotherConnectOpensAnotherQueueAndKeepsTheHandshake)
{
    const auto first = mController->sinkQueueRetainedCopy();
    mController->setEnqueued(true);
    connect();
    EXPECT_NE(mController->sinkQueue(), nullptr);
    EXPECT_NE(mController->sinkQueue(), first.get());
    EXPECT_TRUE(mController->enqueued());
    EXPECT_FALSE(mController->readyToEnqueue());
}

TEST_F(ConnectedDeviceController, TheTestWritesGoToTheDeviceWhichRefusesThem)
{
    constexpr FourCharCode dust = 0x64757374;
    const auto text = loggedLines(
        [&] { EXPECT_FALSE(mController->deviceSetPropertyWithFourCharCode_stringValue(dust, CFSTR("ignored"))); });
    const auto refusal = "CMIOObjectHasProperty(" + std::to_string(mController->cameraDeviceID()) + ",'dust')\n";
    EXPECT_TRUE(has(text, refusal)) << text;
    EXPECT_TRUE(
        has(text, "SRC>>CMIOObjectSetCFStringRefPropertyGlobalMaster(_cameraDeviceID, propertyCode, testStringValue)"))
        << text;
    const auto surface = loggedLines(
        [&] { EXPECT_FALSE(mController->deviceSetPropertyWithFourCharCode_surfaceValue(dust, mSource)); });
    EXPECT_TRUE(has(surface, refusal)) << surface;
    EXPECT_TRUE(
        has(surface, "SRC>>CMIOObjectSetCFTypeRefPropertyGlobalMaster(_cameraDeviceID, propertyCode, surfaceValue)"))
        << surface;
}

TEST_F(DeviceController, WithoutADeviceTheTestWritesAreReported)
{
    EXPECT_EQ(
        loggedLines([&] { EXPECT_FALSE(mController->deviceSetPropertyWithFourCharCode_stringValue(1, nullptr)); }),
        "REQUIREMENT - SRC>>_cameraDeviceID!=0 in ZVCMIOClientDeviceController.cpp:# "
        "(deviceSetPropertyWithFourCharCode_stringValue)\n");
    EXPECT_EQ(
        loggedLines([&] { EXPECT_FALSE(mController->deviceSetPropertyWithFourCharCode_surfaceValue(1, nullptr)); }),
        "REQUIREMENT - SRC>>_cameraDeviceID!=0 in ZVCMIOClientDeviceController.cpp:# "
        "(deviceSetPropertyWithFourCharCode_surfaceValue)\n");
}
