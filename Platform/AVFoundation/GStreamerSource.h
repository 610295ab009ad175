#pragma once

#include "Platform/AVFoundation/CaptureSource.h"
#include "Platform/AVFoundation/GStreamerTypes.h"
#include "Platform/CoreMediaIO/UniqueFD.h"

#include <gst/app/gstappsink.h>
#include <memory>
#include <mutex>

/// A device of the host behind a GStreamer pipeline that ends in an application sink. The pipeline runs on the system's
/// monotonic clock, whatever clock the device offers.
class GStreamerSource : public CaptureSource {
public:
    GStreamerSource(CaptureSink& sink, GstDevice* device);
    ~GStreamerSource() override;
    Ref<NSError> start() override;
    void stop() override;
    bool interrupt() override;

protected:
    CaptureSink& sink() const noexcept { return mSink; }
    GstDevice* device() const noexcept { return mDevice.get(); }
    /// What stands between the device's element and the sink, as GStreamer writes a chain of elements;
    /// empty for nothing.
    virtual std::string chain() const = 0;
    /// The form that the device is asked for; null for any.
    virtual GstCapsOwner requestedCaps() const { return nullptr; }
    /// The form that the sink takes, as text.
    virtual const char* deliveredCaps() const = 0;
    virtual void configure(GstElement* source);
    /// The next sample, on the pipeline's thread.
    virtual void sampleCame(GstSample* sample) = 0;
    /// When the sample was taken, in nanoseconds of the host clock.
    std::int64_t hostTimeOf(GstSample* sample) const;

private:
    struct Callbacks;
    struct Opening;
    static GstFlowReturn newSample(GstAppSink* sink, gpointer callbacks);
    static GstBusSyncReply message(GstBus* bus, GstMessage* message, gpointer callbacks);
    Ref<NSError> build();
    bool play();
    void giveOwnConnection(GstElement* source);
    void messageCame(GstMessage* message);
    void failed(Ref<NSError> error);

    CaptureSink& mSink;
    const GstOwned<GstDevice> mDevice;
    GstOwned<GstElement> mPipeline;
    std::mutex mLock;
    UniqueFD mConnection; ///< to PipeWire, for a source that reads from there
    bool mIsInterrupted = false;
    std::shared_ptr<Callbacks> mCallbacks;
    std::shared_ptr<Opening> mOpening; ///< while the pipeline starts
    bool mIsStarting = false;
    Ref<NSError> mStartError; ///< what failed while the pipeline was started
};
