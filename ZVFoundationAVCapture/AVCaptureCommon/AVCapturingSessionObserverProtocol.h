#pragma once

class AVCameraSessionController;

/// Told, on the main queue, of every change of a session's configuration.
class AVCapturingSessionObserverProtocol {
public:
    virtual void capturingSessionConfigurationChanged(AVCameraSessionController* /*controller*/) { }

protected:
    ~AVCapturingSessionObserverProtocol() = default;
};
