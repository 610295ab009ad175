#pragma once

#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/AVFoundation/CaptureSource.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/AVFoundation/AttachedDevices.h"
#include "tests/WithRequirements/LoggedChecks.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureFilteredMovieWriterController.h"

#include <algorithm>
#include <gtest/gtest.h>

/// A machine whose devices the test attaches.
class CaptureFixture : public testing::Test, AttachedDevices {
protected:
    void TearDown() override
    {
        FailPoint::disarmAll();
        DispatchMain::drain();
    }
    static Ref<AVCaptureDevice> attach(const std::string& name, const std::string& manufacturer = "",
        AVMediaType mediaType = AVMediaTypeVideo, AVCaptureDevicePosition position = AVCaptureDevicePositionUnspecified)
    {
        AVCaptureDevice::Properties properties;
        properties.uniqueID = "test " + name;
        properties.localizedName = name;
        properties.manufacturer = manufacturer;
        properties.mediaType = mediaType;
        properties.position = position;
        auto device = make<AVCaptureDevice>(
            std::move(properties), [](CaptureSink&) { return std::unique_ptr<CaptureSource>(); });
        CaptureDeviceList::shared().deviceCame(device);
        return device;
    }
    AutoreleasePool pool;
};
