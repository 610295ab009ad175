#pragma once

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/AVFoundation/CaptureSource.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/CoreVideo/CVPixelBufferPool.h"

#include <condition_variable>
#include <memory>
#include <mutex>

/// A device that opens, fails and delivers as a test tells it to. Any thread.
class ScriptedDevice {
public:
    explicit ScriptedDevice(const std::string& name, AVMediaType mediaType = AVMediaTypeVideo)
        : mScript(std::make_shared<Script>())
    {
        AVCaptureDevice::Properties properties;
        properties.uniqueID = "scripted " + name;
        properties.localizedName = name;
        properties.mediaType = mediaType;
        mDevice = make<AVCaptureDevice>(std::move(properties),
            [script = mScript](CaptureSink& sink) { return std::make_unique<Source>(sink, script); });
    }
    AVCaptureDevice* device() const { return mDevice; }

    /// The error that opening it gives from now on; null opens it.
    void setOpeningError(Ref<NSError> error)
    {
        const std::lock_guard lock(mScript->lock);
        mScript->openingError = std::move(error);
    }
    /// Whether opening it does not come back, until this is taken back or somebody interrupts.
    void setHangs(bool hangs)
    {
        const std::lock_guard lock(mScript->lock);
        mScript->hangs = hangs;
        mScript->changed.notify_all();
    }
    /// How often it was asked to open; how often it was interrupted then.
    int openings() const { return read(&Script::openings); }
    int interruptions() const { return read(&Script::interruptions); }
    bool isOpen() const { return read(&Script::sink) != nullptr; }

    /// Brings one grey picture, or a tenth of a second of loud sound, if it is open.
    void deliver()
    {
        const std::lock_guard lock(mScript->lock);
        auto* const sink = mScript->sink;
        if (!sink)
            return;
        if (mDevice->hasMediaType(AVMediaTypeAudio)) {
            constexpr std::int64_t tenth = 100'000'000;
            sink->soundCame(std::vector<std::byte>(4800 * 4, std::byte { 64 }), HostClock::nanoseconds() - tenth);
        } else if (sink->admitPicture()) {
            Ref<CVPixelBuffer> picture;
            const auto dimensions = sink->requestedDimensions();
            make<CVPixelBufferPool>(static_cast<std::size_t>(dimensions.width),
                static_cast<std::size_t>(dimensions.height), kCVPixelFormatType_32BGRA, nullptr)
                ->createPixelBuffer(1, &picture);
            sink->pictureCame(std::move(picture), HostClock::nanoseconds(), 0);
        }
    }
    void fail(const std::string& message)
    {
        const std::lock_guard lock(mScript->lock);
        if (mScript->sink)
            mScript->sink->sourceFailed(NSError::errorWithMessage(AVFoundationErrorDomain, AVErrorUnknown, message));
    }

private:
    struct Script {
        std::mutex lock;
        std::condition_variable changed;
        Ref<NSError> openingError;
        bool hangs = false;
        bool isInterrupted = false;
        int openings = 0;
        int interruptions = 0;
        CaptureSink* sink = nullptr;
    };
    class Source final : public CaptureSource {
    public:
        Source(CaptureSink& sink, std::shared_ptr<Script> script)
            : mSink(sink)
            , mScript(std::move(script))
        {
        }
        ~Source() override { stop(); }
        Ref<NSError> start() override
        {
            std::unique_lock lock(mScript->lock);
            ++mScript->openings;
            mScript->isInterrupted = false;
            mScript->changed.wait(lock, [this] { return !mScript->hangs || mScript->isInterrupted; });
            if (mScript->openingError || mScript->isInterrupted)
                return mScript->openingError;
            mScript->sink = &mSink;
            return nullptr;
        }
        void stop() override
        {
            const std::lock_guard lock(mScript->lock);
            if (mScript->sink == &mSink)
                mScript->sink = nullptr;
        }
        bool interrupt() override
        {
            const std::lock_guard lock(mScript->lock);
            ++mScript->interruptions;
            mScript->isInterrupted = true;
            mScript->changed.notify_all();
            return false;
        }

    private:
        CaptureSink& mSink;
        const std::shared_ptr<Script> mScript;
    };
    template <class Value> Value read(Value Script::*member) const
    {
        const std::lock_guard lock(mScript->lock);
        return (*mScript).*member;
    }

    const std::shared_ptr<Script> mScript;
    Ref<AVCaptureDevice> mDevice;
};
