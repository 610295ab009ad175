#pragma once

#include "Platform/AVFoundation/AVCaptureSession.h"
#include "Platform/dispatch/dispatch.h"

#include <chrono>
#include <condition_variable>
#include <functional>

/// A delegate that notes the samples it gets and lets a test wait for them. It keeps only the first few pictures, since
/// the camera's memory for them is limited.
class CaptureRecorder : public NSObject,
                        public AVCaptureVideoDataOutputSampleBufferDelegate,
                        public AVCaptureAudioDataOutputSampleBufferDelegate {
    NS_OBJECT(CaptureRecorder)
public:
    CaptureRecorder() = default;
    void captureOutput_didOutputSampleBuffer_fromConnection(
        AVCaptureOutput* output, CMSampleBufferRef sampleBuffer, AVCaptureConnection* connection) override;

    /// Runs in the callback before the sample is kept.
    std::function<void()> inCallback;
    struct Note {
        double time; ///< seconds on the host clock
        double duration; ///< of sound
        std::optional<std::uint32_t> counter; ///< what the test picture shows
        Ref<CMSampleBuffer> sample; ///< of the first few
    };
    std::vector<Note> notes() const;
    Ref<AVCaptureConnection> lastConnection() const;
    std::string lastQueueLabel() const;
    void clear();
    /// Whether \p count samples have come within the deadline.
    bool waitFor(std::size_t count, std::chrono::seconds deadline = std::chrono::seconds(10)) const;

private:
    mutable std::mutex mLock;
    mutable std::condition_variable mCame;
    std::vector<Note> mNotes;
    Ref<AVCaptureConnection> mConnection;
    std::string mQueueLabel;
};
