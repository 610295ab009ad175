#pragma once

#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/AVFoundation/CaptureSource.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureFilteredMovieWriterController.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

/// A machine whose devices the test attaches.
class CaptureFixture : public testing::Test {
protected:
    /// Before the members of a test make their sessions, which look for devices.
    CaptureFixture() { CaptureDeviceList::shared().useHostDevices(false); }
    void TearDown() override
    {
        FailPoint::disarmAll();
        CaptureDeviceList::shared().removeAll();
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
    /// How many lines of \p log are a failed check of this expression.
    static long reports(const std::string& log, const std::string& source)
    {
        std::istringstream lines(log);
        long count = 0;
        for (std::string line; std::getline(lines, line);) {
            const bool isCheck = line.starts_with("REQUIRE");
            for (const char* end : { " in ", "==", " :" })
                if (isCheck && line.find(" " + source + end) != std::string::npos) {
                    ++count;
                    break;
                }
        }
        return count;
    }
    AutoreleasePool pool;
};
