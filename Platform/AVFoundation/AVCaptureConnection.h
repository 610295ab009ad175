#pragma once

#include "Platform/AVFoundation/AVMediaFormat.h"
#include "Platform/Foundation/NSObject.h"

#include <array>
#include <atomic>
#include <mutex>
#include <span>

class AVCaptureDeviceInput;
class AVCaptureOutput;

/// The road from one input of a session to one output. A session makes a new one whenever input or output change.
class AVCaptureConnection : public NSObject {
    NS_OBJECT(AVCaptureConnection)
public:
    AVCaptureConnection(AVMediaType mediaType, AVCaptureDeviceInput* input, AVCaptureOutput* output);
    ~AVCaptureConnection() override;

    AVMediaType mediaType() const { return mMediaType; }
    AVCaptureDeviceInput* input() const { return mInput; }
    /// Null when the output has gone.
    Ref<AVCaptureOutput> output() const { return mOutput.strongReference(); }
    /// False once the session has replaced or dropped it.
    bool isActive() const { return mActive.load(std::memory_order_relaxed); }
    void setActive(bool active) { mActive.store(active, std::memory_order_relaxed); }

    /// How loud the last twentieth of a second was, in decibels of full scale: 0 at the most, -160 for silence and
    /// where there is no sound. From any thread.
    double averagePowerLevel() const { return mAveragePowerLevel.load(std::memory_order_relaxed); }
    /// The loudest sample of the same time, in the same measure.
    double peakPowerLevel() const { return mPeakPowerLevel.load(std::memory_order_relaxed); }
    /// The newest samples, oldest first, the mean of the channels, from -1 to 1, at 48,000 a second: as many as there
    /// are, up to \p count and to 4,096. From any thread.
    std::vector<float> latestSamples(std::size_t count) const;

    /// Takes the next interleaved samples of the stream; called by the output that delivers them.
    void measure(std::span<const std::int16_t> samples, std::size_t channels);

private:
    static constexpr std::size_t kept = 4096;
    const AVMediaType mMediaType;
    const Ref<AVCaptureDeviceInput> mInput;
    const WeakRef<AVCaptureOutput> mOutput;
    std::atomic<bool> mActive { true };
    std::atomic<double> mAveragePowerLevel { -160 };
    std::atomic<double> mPeakPowerLevel { -160 };
    mutable std::mutex mLock;
    std::array<float, kept> mSamples {};
    std::size_t mWritten = 0;
};
