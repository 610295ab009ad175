#pragma once

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/AVFoundation/CaptureSource.h"

#include <functional>
#include <memory>
#include <mutex>

/// A device whose samples a test supplies while a session has it open. Any thread.
class SuppliedDevice {
public:
    SuppliedDevice(const std::string& name, AVMediaType mediaType)
        : mOpening(std::make_shared<Opening>())
    {
        AVCaptureDevice::Properties properties;
        properties.uniqueID = "supplied " + name;
        properties.localizedName = name;
        properties.mediaType = mediaType;
        mDevice = make<AVCaptureDevice>(std::move(properties),
            [opening = mOpening](CaptureSink& sink) { return std::make_unique<Source>(sink, opening); });
    }
    AVCaptureDevice* device() const { return mDevice; }
    Ref<AVCaptureDeviceInput> input() const { return AVCaptureDeviceInput::initWithDevice_error(mDevice, nullptr); }

    /// Calls \p supply with where the samples go, if the device is open.
    bool with(const std::function<void(CaptureSink& sink)>& supply)
    {
        const std::lock_guard lock(mOpening->lock);
        if (mOpening->sink)
            supply(*mOpening->sink);
        return mOpening->sink;
    }

private:
    struct Opening {
        std::mutex lock;
        CaptureSink* sink = nullptr;
    };
    class Source final : public CaptureSource {
    public:
        Source(CaptureSink& sink, std::shared_ptr<Opening> opening)
            : mSink(sink)
            , mOpening(std::move(opening))
        {
        }
        ~Source() override { stop(); }
        Ref<NSError> start() override
        {
            const std::lock_guard lock(mOpening->lock);
            mOpening->sink = &mSink;
            return nullptr;
        }
        void stop() override
        {
            const std::lock_guard lock(mOpening->lock);
            if (mOpening->sink == &mSink)
                mOpening->sink = nullptr;
        }

    private:
        CaptureSink& mSink;
        const std::shared_ptr<Opening> mOpening;
    };

    const std::shared_ptr<Opening> mOpening;
    Ref<AVCaptureDevice> mDevice;
};
