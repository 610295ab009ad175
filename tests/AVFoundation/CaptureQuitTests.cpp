// A program of its own, since it ends the threads that everything else needs.

#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "tests/AVFoundation/CaptureRecorder.h"

#include <gtest/gtest.h>
#include <vector>

TEST(CaptureQuit, DevicesThatAreToBeClosedAreClosedBeforeTheThreadsStop)
{
    const AutoreleasePool pool;
    CaptureDeviceList::shared().useHostDevices(false);
    // So many that some have not begun to close when the threads are to stop.
    constexpr std::size_t count = 40;
    const auto recorder = make<CaptureRecorder>();
    const auto queue = dispatch_queue_create("CaptureQuit");
    std::vector<Ref<AVCaptureVideoDataOutput>> outputs;
    {
        const AutoreleasePool sessionPool;
        auto* const cameras = AVCaptureDevice::devicesWithMediaType(AVMediaTypeVideo);
        auto* const camera = kindOf<AVCaptureDevice>(cameras->objectAtIndex(0));
        std::vector<Ref<AVCaptureSession>> sessions;
        for (std::size_t index = 0; index < count; ++index) {
            outputs.push_back(make<AVCaptureVideoDataOutput>());
            outputs.back()->setSampleBufferDelegate_queue(recorder, queue);
            sessions.push_back(make<AVCaptureSession>());
            sessions.back()->addInput(AVCaptureDeviceInput::initWithDevice_error(camera, nullptr).get());
            sessions.back()->addOutput(outputs.back());
            sessions.back()->startRunning();
        }
        for (const auto& session : sessions)
            session->waitUntilSettled();
        for (const auto& output : outputs)
            EXPECT_GT(output->retainCount(), 1);
    }
    DispatchMain::stopThreads();
    for (const auto& output : outputs)
        EXPECT_EQ(output->retainCount(), 1);
}
