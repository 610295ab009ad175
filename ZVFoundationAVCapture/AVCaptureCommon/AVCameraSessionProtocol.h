#pragma once

#include "Platform/AVFoundation/AVCaptureSession.h"

#include <functional>

/// What a controller of a capture session offers to those that change its configuration.
class AVCameraSessionProtocol {
public:
    virtual void beginSessionConfiguration(AVCaptureSession* /*session*/) { }
    virtual void commitSessionConfiguration() { }
    virtual void sessionConfigurationWithBlock(const std::function<void(AVCaptureSession*)>& /*block*/) { }
    virtual AVCaptureSession* session() const { return nullptr; }
    virtual CFArray* availableVideoInputDevices() { return nullptr; }

protected:
    ~AVCameraSessionProtocol() = default;
};
