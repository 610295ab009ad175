#include "Platform/AVFoundation/GStreamerDeviceMonitor.h"

#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/AVFoundation/GStreamerAudioSource.h"
#include "Platform/AVFoundation/GStreamerVideoSource.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/Foundation/NSBundle.h"

#include <algorithm>
#include <set>

namespace {

/// Whether it is the camera that the program itself offers to others: an output, and no camera of the machine. Its
/// node's name begins with the identifier that the program's bundle gives for its camera extension.
bool isOwnCamera(std::string_view nodeName)
{
    const auto* const identifier
        = NSBundle::mainBundle()->infoDictionary()->get<CFString>(CFSTR("CMIOExtensionIdentifier"));
    return identifier && nodeName.starts_with(identifier->string());
}

constexpr CMVideoDimensions usualDimensions { 1280, 720 };
constexpr std::size_t mostFormats = 64;
constexpr std::int64_t untilLossIsKnown = 1'000'000'000;

/// What the host knows about a device, by key.
class Facts {
public:
    explicit Facts(GstDevice* device)
        : mProperties(gst_device_get_properties(device))
    {
    }
    /// The first of the keys that has a text; empty when none has.
    std::string first(std::initializer_list<const char*> keys) const
    {
        for (const auto* const key : keys) {
            const char* const text = mProperties ? gst_structure_get_string(mProperties.get(), key) : nullptr;
            if (text && *text)
                return text;
        }
        return {};
    }

    bool isTrue(const char* key) const
    {
        gboolean value = FALSE;
        return mProperties && gst_structure_get_boolean(mProperties.get(), key, &value) && value;
    }

private:
    const GstStructureOwner mProperties;
};

/// What is the same for the device each time it is attached.
std::string identityOf(GstDevice* device, const Facts& facts, const std::string& name)
{
    auto identity = facts.first({ "node.name" });
    if (identity.empty() && g_object_class_find_property(G_OBJECT_GET_CLASS(device), "internal-name")) {
        gchar* text = nullptr;
        g_object_get(device, "internal-name", &text, nullptr);
        const GTextOwner owner(text);
        identity = text ? text : "";
    }
    if (identity.empty())
        identity = facts.first({ "device.serial", "device.bus_path", "sysfs.path", "device.path", "object.path" });
    return identity.empty() ? name : identity;
}

HostDeviceChoice::Library libraryOf(GstDevice* device)
{
    using Library = HostDeviceChoice::Library;
    static constexpr std::pair<std::string_view, Library> types[] {
        { "GstPipeWireDevice", Library::PipeWire },
        { "GstV4l2Device", Library::V4L2 },
        { "GstPulseDevice", Library::PulseAudio },
        { "GstAlsaDevice", Library::ALSA },
    };
    const std::string_view type = G_OBJECT_TYPE_NAME(device);
    for (const auto& [name, library] : types)
        if (type.starts_with(name))
            return library;
    return Library::Other;
}

/// The device file of a camera that V4L2 reads, whoever names it.
std::string devicePath(const Facts& facts)
{
    constexpr std::string_view prefix = "v4l2:";
    const auto path = facts.first({ "api.v4l2.path", "device.path", "object.path" });
    return path.starts_with(prefix) ? path.substr(prefix.size()) : path;
}

/// Whether every form that the camera offers is without colours, as those of the cameras that recognise faces are.
bool isColourless(const GstCaps* caps)
{
    const auto isGrey = [](const GValue* format) {
        return format && G_VALUE_HOLDS_STRING(format) && g_str_has_prefix(g_value_get_string(format), "GRAY");
    };
    const auto size = caps && !gst_caps_is_any(caps) ? gst_caps_get_size(caps) : 0;
    for (guint i = 0; i < size; ++i) {
        const auto* const structure = gst_caps_get_structure(caps, i);
        const auto* const format = gst_structure_get_value(structure, "format");
        if (!gst_structure_has_name(structure, "video/x-raw") || !format)
            return false;
        if (!GST_VALUE_HOLDS_LIST(format)) {
            if (!isGrey(format))
                return false;
            continue;
        }
        for (guint each = 0; each < gst_value_list_get_size(format); ++each)
            if (!isGrey(gst_value_list_get_value(format, each)))
                return false;
    }
    return size > 0;
}

/// Whether the device records what is played elsewhere.
bool isMonitor(const Facts& facts)
{
    return facts.first({ "device.class" }) == "monitor" || facts.first({ "stream.monitor" }) == "true"
        || facts.first({ "node.name" }).ends_with(".monitor");
}

std::vector<Ref<AVCaptureDeviceFormat>> videoFormats(GstDevice* device)
{
    const GstCapsOwner caps(gst_device_get_caps(device));
    std::vector<Ref<AVCaptureDeviceFormat>> result;
    std::set<std::pair<int, int>> seen;
    for (const auto& format : GStreamerVideoFormatsOf(caps.get(), usualDimensions)) {
        if (result.size() == mostFormats || !seen.emplace(format.dimensions.width, format.dimensions.height).second)
            continue;
        std::vector<Ref<AVFrameRateRange>> ranges;
        if (format.rateNumerator > 0)
            ranges.push_back(make<AVFrameRateRange>(format.rate(), format.rate()));
        result.push_back(make<AVCaptureDeviceFormat>(AVMediaTypeVideo,
            make<CMFormatDescription>(kCVPixelFormatType_32BGRA, format.dimensions), std::move(ranges)));
    }
    return result;
}

Ref<AVCaptureDeviceFormat> audioFormat()
{
    AudioStreamBasicDescription audio;
    audio.mSampleRate = AVCaptureAudioDataOutput::sampleRate;
    audio.mFormatID = kAudioFormatLinearPCM;
    audio.mChannelsPerFrame = AVCaptureAudioDataOutput::channels;
    audio.mBitsPerChannel = 16;
    return make<AVCaptureDeviceFormat>(AVMediaTypeAudio, make<CMFormatDescription>(audio, AudioChannelLayout {}),
        std::vector<Ref<AVFrameRateRange>> {});
}

}

void GStreamerDeviceMonitor::ProviderDeleter::operator()(GstDeviceProvider* provider) const noexcept
{
    gst_object_unref(provider);
}

GStreamerDeviceMonitor::GStreamerDeviceMonitor(CaptureDeviceList& list, Ref<dispatch_queue> queue)
    : mList(list)
    , mQueue(std::move(queue))
{
}

GStreamerDeviceMonitor::~GStreamerDeviceMonitor()
{
    mPipeWire = nullptr;
    for (auto& provider : mProviders)
        stopProvider(provider);
}

void GStreamerDeviceMonitor::start()
{
    GError* failure = nullptr;
    if (!gst_init_check(nullptr, nullptr, &failure)) {
        const GErrorOwner error(failure);
        return;
    }
    findProviders();
    mPipeWire = std::make_unique<PipeWireWatch>(PipeWireWatch::Listener {
        [this](bool isConnected) {
            dispatch_async(mQueue, [weakSelf = weak_from_this(), isConnected] {
                if (const auto self = weakSelf.lock())
                    self->pipeWireConnectionChanged(isConnected);
            });
        },
        [this](const std::string& nodeName) { mList.setDefaultMicrophone(nodeName); },
    });
    mPipeWire->start();
    // PipeWire's first: what it serves hides the others from the beginning. Where none runs there is nothing to find.
    std::stable_partition(mProviders.begin(), mProviders.end(), [](const Provider& each) { return each.isPipeWire; });
    for (auto& provider : mProviders)
        startProvider(provider);
    {
        const std::lock_guard lock(mLock);
        mIsStarting = false;
    }
    tellChanges();
}

void GStreamerDeviceMonitor::findProviders()
{
    GList* const factories = gst_device_provider_factory_list_get_device_providers(static_cast<GstRank>(1));
    for (const GList* each = factories; each; each = each->next) {
        auto* const factory = static_cast<GstDeviceProviderFactory*>(each->data);
        if (!gst_device_provider_factory_has_classes(factory, "Source/Video")
            && !gst_device_provider_factory_has_classes(factory, "Source/Audio"))
            continue;
        Provider found;
        found.provider.reset(gst_device_provider_factory_get(factory));
        found.isPipeWire = g_strcmp0(GST_OBJECT_NAME(factory), "pipewiredeviceprovider") == 0;
        if (found.provider)
            mProviders.push_back(std::move(found));
    }
    gst_plugin_feature_list_free(factories);
}

void GStreamerDeviceMonitor::startProvider(Provider& provider)
{
    auto* const host = provider.provider.get();
    const GstOwned<GstBus> bus(gst_device_provider_get_bus(host));
    gst_bus_set_sync_handler(
        bus.get(),
        [](GstBus*, GstMessage* message, gpointer self) {
            static_cast<GStreamerDeviceMonitor*>(self)->handle(message);
            gst_message_unref(message);
            return GST_BUS_DROP;
        },
        this, nullptr);
    // One that cannot watch is asked once.
    provider.isStarted = gst_device_provider_can_monitor(host) && gst_device_provider_start(host);
    if (!provider.isStarted && provider.isPipeWire)
        return;
    GList* const devices = gst_device_provider_get_devices(host);
    for (const GList* each = devices; each; each = each->next) {
        const GstOwned<GstDevice> device(GST_DEVICE(each->data));
        came(device.get());
    }
    g_list_free(devices);
}

void GStreamerDeviceMonitor::stopProvider(Provider& provider)
{
    auto* const host = provider.provider.get();
    if (std::exchange(provider.isStarted, false))
        gst_device_provider_stop(host);
    const GstOwned<GstBus> bus(gst_device_provider_get_bus(host));
    gst_bus_set_sync_handler(bus.get(), nullptr, nullptr, nullptr);
}

void GStreamerDeviceMonitor::pipeWireConnectionChanged(bool isConnected)
{
    assertOnQueue(mQueue);
    mIsPipeWireConnected = isConnected;
    if (isConnected) {
        // What was connected at the start has been told by then; what is still to be stopped is started after that.
        for (auto& provider : mProviders)
            if (provider.isPipeWire && !provider.isStarted)
                startProvider(provider);
        tellChanges();
        return;
    }
    {
        const std::lock_guard lock(mLock);
        mChoice.wentAll(HostDeviceChoice::Library::PipeWire);
    }
    tellChanges();
    // The provider is stopped without regard for its own thread, which may be about to hear of the loss too.
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, untilLossIsKnown), mQueue, [weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock())
            self->restartPipeWireProvider();
    });
}

void GStreamerDeviceMonitor::restartPipeWireProvider()
{
    assertOnQueue(mQueue);
    for (auto& provider : mProviders) {
        if (!provider.isPipeWire)
            continue;
        stopProvider(provider);
        if (mIsPipeWireConnected)
            startProvider(provider);
    }
    tellChanges();
}

void GStreamerDeviceMonitor::handle(GstMessage* message)
{
    const AutoreleasePool pool;
    GstDevice* device = nullptr;
    GstDevice* before = nullptr;
    switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_DEVICE_ADDED:
        gst_message_parse_device_added(message, &device);
        came(device);
        break;
    case GST_MESSAGE_DEVICE_REMOVED:
        gst_message_parse_device_removed(message, &device);
        went(device);
        break;
    case GST_MESSAGE_DEVICE_CHANGED:
        gst_message_parse_device_changed(message, &device, &before);
        changed(before, device);
        break;
    default:
        return;
    }
    const GstOwned<GstDevice> owner(device);
    const GstOwned<GstDevice> ownerBefore(before);
    tellChanges();
}

void GStreamerDeviceMonitor::came(GstDevice* device)
{
    const std::lock_guard lock(mLock);
    if (gst_device_has_classes(device, "Audio"))
        mChoice.doesSound(libraryOf(device));
    auto made = makeDevice(device);
    if (!made)
        return;
    if (Facts(device).isTrue("is-default"))
        mList.setDefaultMicrophone(made->properties().uniqueID);
    // The object keeps the host's device, so its address stays its own.
    mChoice.came(device, { libraryOf(device), devicePath(Facts(device)), std::move(made) }, HostClock::nanoseconds(),
        !mIsStarting);
}

void GStreamerDeviceMonitor::went(GstDevice* device)
{
    const std::lock_guard lock(mLock);
    mChoice.went(device);
}

void GStreamerDeviceMonitor::changed(GstDevice* before, GstDevice* after)
{
    // The same device with other properties; of those only one matters later on.
    const std::lock_guard lock(mLock);
    mChoice.rename(before, after);
    const auto* const device = mChoice.device(after);
    if (device && Facts(after).isTrue("is-default"))
        mList.setDefaultMicrophone(device->properties().uniqueID);
}

void GStreamerDeviceMonitor::tellChanges()
{
    const AutoreleasePool pool;
    const std::lock_guard lock(mLock);
    if (mIsStarting)
        return;
    const auto now = HostClock::nanoseconds();
    const auto changes = mChoice.changes(now);
    for (const auto& device : changes.came)
        mList.deviceCame(device);
    for (const auto& device : changes.went)
        mList.deviceWent(device);
    if (const auto time = mChoice.nextTime(); time > now)
        dispatch_after(static_cast<dispatch_time_t>(time), mQueue, [weakSelf = weak_from_this()] {
            if (const auto self = weakSelf.lock())
                self->tellChanges();
        });
}

Ref<AVCaptureDevice> GStreamerDeviceMonitor::makeDevice(GstDevice* device)
{
    const bool isVideo = gst_device_has_classes(device, "Video/Source");
    const Facts facts(device);
    if (!isVideo && (!gst_device_has_classes(device, "Audio/Source") || isMonitor(facts)))
        return nullptr;
    if (isOwnCamera(facts.first({ "node.name" })))
        return nullptr;
    const GTextOwner name(gst_device_get_display_name(device));
    AVCaptureDevice::Properties properties;
    properties.localizedName = name ? name.get() : "";
    properties.manufacturer
        = facts.first({ "device.vendor.name", "device.vendor", "api.v4l2.cap.manufacturer", "udev-probed.vendor" });
    properties.mediaType = isVideo ? AVMediaTypeVideo : AVMediaTypeAudio;
    properties.uniqueID = mChoice.unusedIdentifier(identityOf(device, facts, properties.localizedName));
    properties.formats = isVideo ? videoFormats(device) : std::vector { audioFormat() };
    const GstCapsOwner caps(gst_device_get_caps(device));
    properties.isColourless = isVideo && isColourless(caps.get());

    const std::shared_ptr<GstDevice> host(static_cast<GstDevice*>(gst_object_ref(device)), GstObjectDeleter {});
    if (isVideo)
        return make<AVCaptureDevice>(std::move(properties),
            [host](CaptureSink& sink) { return std::make_unique<GStreamerVideoSource>(sink, host.get()); });
    return make<AVCaptureDevice>(std::move(properties),
        [host](CaptureSink& sink) { return std::make_unique<GStreamerAudioSource>(sink, host.get()); });
}
