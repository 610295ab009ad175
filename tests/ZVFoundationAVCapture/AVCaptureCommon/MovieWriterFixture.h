#pragma once

#include "tests/ZVFoundationAVCapture/AVCaptureCommon/CaptureFixture.h"
#include "tests/ZVFoundationAVCapture/AVCaptureCommon/RecordingDelegate.h"

#include <cstdlib>
#include <filesystem>

#include <unistd.h>

/// A controller with its delegate, small pictures, and a home folder of the test's own.
class MovieWriterFixture : public CaptureFixture {
protected:
    void SetUp() override
    {
        AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil = AVCaptureSessionPreset640x480;
        AVCaptureFilteredMovieWriter_CapturePixelBufferSizeOrZero = { 320, 180 };
        folder = std::filesystem::temp_directory_path() / ("tovrin-writer-" + std::to_string(getpid()));
        std::filesystem::create_directories(folder / "home" / ".config");
        setenv("HOME", (folder / "home").c_str(), 1);
        unsetenv("XDG_CONFIG_HOME");
        unsetenv("XDG_DATA_HOME");
        controller = make<AVCaptureFilteredMovieWriterController>();
        controller->setDelegate(delegate);
    }
    void TearDown() override
    {
        FailPoint::disarmAll();
        if (controller->session())
            controller->stopAndTearDownCaptureSession();
        controller->dispatchVideoQueue()->waitUntilQueueEmpty();
        controller->dispatchAudioQueue()->waitUntilQueueEmpty();
        CaptureFixture::TearDown();
        std::filesystem::remove_all(folder);
    }
    std::filesystem::path folder;
    Ref<AVCaptureFilteredMovieWriterController> controller;
    Ref<RecordingDelegate> delegate = make<RecordingDelegate>();
};
