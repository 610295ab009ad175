#include "Platform/AVFoundation/GStreamerSource.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/AVFoundation/PipeWireSocket.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"

#include <condition_variable>
#include <sys/socket.h>

namespace {

/// Stamps that are further in the past than this are the device's own and mean something else.
constexpr std::int64_t oldest = 2'000'000'000;

Ref<NSError> errorWith(const std::string& message, CFIndex code = AVErrorUnknown)
{
    return NSError::errorWithMessage(AVFoundationErrorDomain, code, message);
}

/// What kind of failure the library tells. Not every element sets the code, but all add the system's words.
CFIndex codeOf(const GError* error, std::string_view details)
{
    const auto says = [details](std::string_view words) { return details.find(words) != std::string_view::npos; };
    const bool isResource = error && error->domain == GST_RESOURCE_ERROR;
    if ((isResource && error->code == GST_RESOURCE_ERROR_BUSY) || says("Device or resource busy"))
        return AVErrorDeviceInUseByAnotherApplication;
    if ((isResource && error->code == GST_RESOURCE_ERROR_NOT_AUTHORIZED) || says("Permission denied"))
        return AVErrorApplicationIsNotAuthorizedToUseDevice;
    if ((isResource && error->code == GST_RESOURCE_ERROR_NOT_FOUND) || says("No such device"))
        return AVErrorDeviceNotConnected;
    return AVErrorUnknown;
}

bool isPipeWireReader(GstElement* element)
{
    const GstElementFactory* const factory = gst_element_get_factory(element);
    return factory && g_strcmp0(GST_OBJECT_NAME(factory), "pipewiresrc") == 0;
}

/// The element that reads a device. PipeWire's provider makes one that plays for some sources; those are read by
/// serial.
GstElement* readingElement(GstDevice* device)
{
    GstElement* const element = gst_device_create_element(device, nullptr);
    const GstElementFactory* const factory = element ? gst_element_get_factory(element) : nullptr;
    if (!factory || g_strcmp0(GST_OBJECT_NAME(factory), "pipewiresink") != 0)
        return element;
    gst_object_unref(gst_object_ref_sink(element));
    const GstStructureOwner properties(gst_device_get_properties(device));
    const char* const serial = properties ? gst_structure_get_string(properties.get(), "object.serial") : nullptr;
    GstElement* const reader = gst_element_factory_make("pipewiresrc", nullptr);
    if (reader && serial)
        g_object_set(reader, "target-object", serial, nullptr);
    return reader;
}

/// The library's words: its message and the last line of the details, which names what failed.
std::string messageOf(const GError* error, const char* details)
{
    std::string result = error ? error->message : "The device has failed.";
    const std::string_view text = details ? details : "";
    const auto lastLine = text.substr(text.rfind('\n') + 1);
    if (text.find('\n') != std::string_view::npos && !lastLine.empty())
        result += " (" + std::string(lastLine) + ")";
    return result;
}

bool hasProperty(GstElement* element, const char* name)
{
    return g_object_class_find_property(G_OBJECT_GET_CLASS(element), name) != nullptr;
}

}

/// What the pipeline calls: the source for as long as it wants to hear.
struct GStreamerSource::Callbacks {
    explicit Callbacks(GStreamerSource& owner)
        : source(&owner)
    {
    }
    /// Nothing is called once it has returned.
    void forget()
    {
        const std::lock_guard guard(lock);
        source = nullptr;
    }
    static gpointer retained(const std::shared_ptr<Callbacks>& callbacks)
    {
        return std::make_unique<std::shared_ptr<Callbacks>>(callbacks).release();
    }
    static void release(gpointer callbacks)
    {
        const std::unique_ptr<std::shared_ptr<Callbacks>> owner(static_cast<std::shared_ptr<Callbacks>*>(callbacks));
    }
    static Callbacks& from(gpointer callbacks) { return **static_cast<std::shared_ptr<Callbacks>*>(callbacks); }

    std::recursive_mutex lock;
    GStreamerSource* source;
};

/// A pipeline that is being started on one of GStreamer's own threads, which may be left to it.
struct GStreamerSource::Opening {
    std::mutex lock;
    std::condition_variable changed;
    bool isInterrupted = false;
    bool isOver = false;
    bool isLeft = false; ///< nobody waits for it any more
    bool hasFailed = false;
    UniqueFD connection; ///< of one that was left: to be closed after its pipeline
};

GStreamerSource::GStreamerSource(CaptureSink& sink, GstDevice* device)
    : mSink(sink)
    , mDevice(static_cast<GstDevice*>(gst_object_ref(device)))
{
}

GStreamerSource::~GStreamerSource()
{
    // The derived source has stopped the pipeline; this is for one that never started.
    stop();
}

Ref<NSError> GStreamerSource::start()
{
    if (FAIL_POINT("GStreamerSource.start"))
        return errorWith("The device cannot be opened.");
    if (auto error = build()) {
        mPipeline = nullptr;
        return error;
    }
    const auto setStarting = [this](bool starting) {
        const std::lock_guard lock(mLock);
        mIsStarting = starting;
        return std::exchange(mStartError, nullptr);
    };
    setStarting(true);
    const bool hasFailed = !play();
    auto error = setStarting(false);
    if (hasFailed) {
        stop();
        const GTextOwner name(gst_device_get_display_name(mDevice.get()));
        return error ? error : errorWith("\"" + std::string(name.get()) + "\" cannot be opened.");
    }
    if (error)
        mSink.sourceFailed(std::move(error));
    return nullptr;
}

bool GStreamerSource::play()
{
    const auto opening = std::make_shared<Opening>();
    {
        const std::lock_guard lock(mLock);
        const std::lock_guard openingLock(opening->lock);
        opening->isInterrupted = mIsInterrupted && mConnection;
        mOpening = opening;
    }
    gst_element_call_async(
        mPipeline.get(),
        [](GstElement* pipeline, gpointer data) {
            const auto& started = *static_cast<std::shared_ptr<Opening>*>(data);
            std::unique_lock lock(started->lock);
            if (started->isLeft)
                return;
            lock.unlock();
            const bool hasFailed = gst_element_set_state(pipeline, GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE;
            lock.lock();
            started->hasFailed = hasFailed;
            started->isOver = true;
            started->changed.notify_all();
            const bool isLeft = started->isLeft;
            lock.unlock();
            if (isLeft)
                gst_element_set_state(pipeline, GST_STATE_NULL);
        },
        std::make_unique<std::shared_ptr<Opening>>(opening).release(),
        [](gpointer data) {
            const std::unique_ptr<std::shared_ptr<Opening>> owner(static_cast<std::shared_ptr<Opening>*>(data));
        });
    std::unique_lock lock(opening->lock);
    opening->changed.wait(lock, [&] { return opening->isOver || opening->isInterrupted; });
    if (opening->isOver)
        return !opening->hasFailed;
    // PipeWire's element waits half a minute for a stream that will never come, also without its connection. It is
    // left to do so, and what it still says is not heard.
    opening->isLeft = true;
    lock.unlock();
    mCallbacks->forget();
    const std::lock_guard guard(mLock);
    opening->connection = std::move(mConnection);
    mPipeline = nullptr;
    return false;
}

void GStreamerSource::stop()
{
    if (!mPipeline)
        return;
    gst_element_set_state(mPipeline.get(), GST_STATE_NULL);
    const GstOwned<GstBus> bus(gst_element_get_bus(mPipeline.get()));
    gst_bus_set_sync_handler(bus.get(), nullptr, nullptr, nullptr);
    mPipeline = nullptr;
    const std::lock_guard lock(mLock);
    mConnection.reset();
}

bool GStreamerSource::interrupt()
{
    const std::lock_guard lock(mLock);
    mIsInterrupted = true;
    // Only PipeWire's devices are free at once; a driver that hangs has to be waited for.
    if (!mConnection || ::shutdown(mConnection.get(), SHUT_RDWR) != 0)
        return false;
    if (mOpening) {
        const std::lock_guard openingLock(mOpening->lock);
        mOpening->isInterrupted = true;
        mOpening->changed.notify_all();
    }
    return true;
}

void GStreamerSource::giveOwnConnection(GstElement* source)
{
    if (!isPipeWireReader(source))
        return;
    const std::lock_guard lock(mLock);
    mConnection = connectToPipeWire();
    if (mIsInterrupted && mConnection)
        ::shutdown(mConnection.get(), SHUT_RDWR);
    // Without one it makes its own, and answers less well when it is to stop.
    if (mConnection)
        g_object_set(source, "fd", mConnection.get(), nullptr);
}

Ref<NSError> GStreamerSource::build()
{
    mPipeline.reset(gst_pipeline_new(nullptr));
    GstElement* const source = readingElement(mDevice.get());
    if (!source)
        return errorWith("The device has gone.");
    configure(source);
    giveOwnConnection(source);
    gst_bin_add(GST_BIN(mPipeline.get()), source);

    GError* failure = nullptr;
    const auto elements = chain();
    const auto description = (elements.empty() ? "" : elements + " ! ")
        + "appsink name=sink sync=false max-buffers=4 drop=true enable-last-sample=false";
    GstElement* const tail = gst_parse_bin_from_description(description.c_str(), TRUE, &failure);
    if (failure) {
        const GErrorOwner error(failure);
        if (tail)
            gst_object_unref(gst_object_ref_sink(tail));
        return errorWith(error->message);
    }
    gst_bin_add(GST_BIN(mPipeline.get()), tail);
    const GstOwned<GstElement> sink(gst_bin_get_by_name(GST_BIN(tail), "sink"));
    const GstCapsOwner delivered(gst_caps_from_string(deliveredCaps()));
    gst_app_sink_set_caps(GST_APP_SINK(sink.get()), delivered.get());
    GstAppSinkCallbacks callbacks {};
    callbacks.new_sample = newSample;
    mCallbacks = std::make_shared<Callbacks>(*this);
    gst_app_sink_set_callbacks(
        GST_APP_SINK(sink.get()), &callbacks, Callbacks::retained(mCallbacks), &Callbacks::release);

    const auto caps = requestedCaps();
    if (!gst_element_link_filtered(source, tail, caps.get()))
        return errorWith("The device offers no format that can be read.");

    const GstOwned<GstClock> clock(gst_system_clock_obtain());
    gst_pipeline_use_clock(GST_PIPELINE(mPipeline.get()), clock.get());
    const GstOwned<GstBus> bus(gst_element_get_bus(mPipeline.get()));
    gst_bus_set_sync_handler(bus.get(), message, Callbacks::retained(mCallbacks), &Callbacks::release);
    return nullptr;
}

void GStreamerSource::configure(GstElement* source)
{
    // PipeWire's element stamps with times of the node's own clock unless it is told to take the pipeline's.
    if (isPipeWireReader(source))
        g_object_set(source, "do-timestamp", TRUE, "client-name", "Tovrin", nullptr);
    if (hasProperty(source, "provide-clock"))
        g_object_set(source, "provide-clock", FALSE, nullptr);
}

std::int64_t GStreamerSource::hostTimeOf(GstSample* sample) const
{
    const std::int64_t now = HostClock::nanoseconds();
    const GstBuffer* const buffer = gst_sample_get_buffer(sample);
    const GstSegment* const segment = gst_sample_get_segment(sample);
    if (!buffer || !segment || !GST_BUFFER_PTS_IS_VALID(buffer) || segment->format != GST_FORMAT_TIME)
        return now;
    const auto running = gst_segment_to_running_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
    if (!GST_CLOCK_TIME_IS_VALID(running))
        return now;
    const auto time = static_cast<std::int64_t>(gst_element_get_base_time(mPipeline.get()) + running);
    return time > now || time < now - oldest ? now : time;
}

GstFlowReturn GStreamerSource::newSample(GstAppSink* sink, gpointer callbacks)
{
    const GstSampleOwner sample(gst_app_sink_pull_sample(sink));
    if (!sample)
        return GST_FLOW_EOS;
    const AutoreleasePool pool;
    auto& heard = Callbacks::from(callbacks);
    const std::lock_guard lock(heard.lock);
    if (heard.source)
        heard.source->sampleCame(sample.get());
    return GST_FLOW_OK;
}

GstBusSyncReply GStreamerSource::message(GstBus* /*bus*/, GstMessage* message, gpointer callbacks)
{
    {
        auto& heard = Callbacks::from(callbacks);
        const std::lock_guard lock(heard.lock);
        if (heard.source)
            heard.source->messageCame(message);
    }
    gst_message_unref(message);
    return GST_BUS_DROP;
}

void GStreamerSource::messageCame(GstMessage* message)
{
    const AutoreleasePool pool;
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
        failed(NSError::errorWithMessage(
            AVFoundationErrorDomain, AVErrorDeviceWasDisconnected, "The device has ended its stream."));
    } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* failure = nullptr;
        gchar* details = nullptr;
        gst_message_parse_error(message, &failure, &details);
        const GErrorOwner error(failure);
        const GTextOwner text(details);
        failed(errorWith(messageOf(error.get(), text.get()), codeOf(error.get(), text ? text.get() : "")));
    }
}

void GStreamerSource::failed(Ref<NSError> error)
{
    {
        const std::lock_guard lock(mLock);
        if (mIsStarting) {
            if (!mStartError)
                mStartError = std::move(error);
            return;
        }
    }
    mSink.sourceFailed(std::move(error));
}
