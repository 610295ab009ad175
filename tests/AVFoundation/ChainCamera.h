#pragma once

#include "Platform/AVFoundation/CaptureSource.h"
#include "Platform/AVFoundation/GStreamerTypes.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <gst/app/gstappsrc.h>
#include <mutex>

/// A camera whose element is a chain of GStreamer's own elements, or one that a test feeds by hand.
class ChainCamera {
public:
    /// \param chain  as GStreamer writes it; "appsrc" alone makes one for `push`
    /// \param caps  what the camera offers
    ChainCamera(std::string chain, const std::string& caps);
    GstDevice* device() const { return mDevice.get(); }

    /// Delivers bytes, stamped with the pipeline's time, or with \p time from the pipeline's start in nanoseconds.
    void push(const std::string& caps, std::vector<std::uint8_t> bytes, std::int64_t time = -1);
    void push(GstSample* sample);
    void pushTags(const char* tags);
    GstElement* element() const { return mElement.get(); }

    /// The least time from one push to the next; the camera's own clock, so to say.
    std::chrono::nanoseconds interval { 0 };

private:
    friend GstElement* makeChainElement(GstDevice* device);
    const std::string mChain;
    GstOwned<GstDevice> mDevice;
    GstOwned<GstElement> mElement;
    std::chrono::steady_clock::time_point mLastPush;
    std::mutex mHandOver; ///< what is written into a buffer is there for the thread that reads it
};

/// Notes what a source brings.
class NotingSink final : public CaptureSink {
public:
    CMVideoDimensions requestedDimensions() const override { return requested; }
    CMVideoDimensions preferredDimensions() const override { return { 1280, 720 }; }
    bool admitPicture() override;
    void pictureCame(Ref<CVPixelBuffer> picture, std::int64_t hostTime, std::int64_t duration) override;
    void pictureFailed() override;
    void soundCame(std::vector<std::byte>, std::int64_t) override { }
    void sourceFailed(Ref<NSError> error) override;

    /// Waits until \p holds, which reads what follows.
    template <class Holds> bool wait(const Holds& holds)
    {
        std::unique_lock lock(mLock);
        return mCame.wait_for(lock, std::chrono::seconds(20), holds);
    }
    bool waitForPictures(int count)
    {
        return wait([&] { return pictures >= count; });
    }
    /// Blue, green and red of a pixel of the last picture.
    std::array<int, 3> pixel(std::size_t x, std::size_t y);

    CMVideoDimensions requested { 320, 180 };
    std::atomic<bool> refuses { false }; ///< no picture is admitted
    std::atomic<int> pictures { 0 };
    std::atomic<int> admitted { 0 };
    std::atomic<int> failures { 0 };
    std::vector<std::int64_t> times;
    std::int64_t lastDuration = 0;
    Ref<NSError> lastError;
    Ref<CVPixelBuffer> last();

private:
    Ref<CVPixelBuffer> mLastPicture;
    std::mutex mLock;
    std::condition_variable mCame;
};
