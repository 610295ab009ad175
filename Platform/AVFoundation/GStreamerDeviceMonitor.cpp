#include "Platform/AVFoundation/GStreamerDeviceMonitor.h"

#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/AVFoundation/GStreamerAudioSource.h"
#include "Platform/AVFoundation/GStreamerVideoSource.h"
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

private:
    const GstStructureOwner mProperties;
};

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

GStreamerDeviceMonitor::~GStreamerDeviceMonitor()
{
    if (!mMonitor)
        return;
    gst_device_monitor_stop(mMonitor);
    gst_object_unref(mMonitor);
}

void GStreamerDeviceMonitor::start()
{
    GError* failure = nullptr;
    if (!gst_init_check(nullptr, nullptr, &failure)) {
        const GErrorOwner error(failure);
        return;
    }
    mMonitor = gst_device_monitor_new();
    gst_device_monitor_add_filter(mMonitor, "Video/Source", nullptr);
    gst_device_monitor_add_filter(mMonitor, "Audio/Source", nullptr);
    const GstOwned<GstBus> bus(gst_device_monitor_get_bus(mMonitor));
    gst_bus_set_sync_handler(
        bus.get(),
        [](GstBus*, GstMessage* message, gpointer self) {
            static_cast<GStreamerDeviceMonitor*>(self)->handle(message);
            gst_message_unref(message);
            return GST_BUS_DROP;
        },
        this, nullptr);
    gst_device_monitor_start(mMonitor);
    GList* const devices = gst_device_monitor_get_devices(mMonitor);
    for (const GList* each = devices; each; each = each->next) {
        const GstOwned<GstDevice> device(GST_DEVICE(each->data));
        came(device.get());
    }
    g_list_free(devices);
}

void GStreamerDeviceMonitor::handle(GstMessage* message)
{
    const AutoreleasePool pool;
    GstDevice* device = nullptr;
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_DEVICE_ADDED) {
        gst_message_parse_device_added(message, &device);
        const GstOwned<GstDevice> owner(device);
        came(device);
    } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_DEVICE_REMOVED) {
        gst_message_parse_device_removed(message, &device);
        const GstOwned<GstDevice> owner(device);
        went(device);
    }
}

void GStreamerDeviceMonitor::came(GstDevice* device)
{
    const std::lock_guard lock(mLock);
    if (mDevices.contains(device))
        return;
    auto made = makeDevice(device);
    if (!made)
        return;
    // The object keeps the host's device, so its address stays its own.
    mDevices.emplace(device, made);
    mList.deviceCame(std::move(made));
}

void GStreamerDeviceMonitor::went(GstDevice* device)
{
    const std::lock_guard lock(mLock);
    const auto found = mDevices.find(device);
    if (found == mDevices.end())
        return;
    mList.deviceWent(found->second);
    mDevices.erase(found);
}

Ref<AVCaptureDevice> GStreamerDeviceMonitor::makeDevice(GstDevice* device)
{
    const bool isVideo = gst_device_has_classes(device, "Video/Source");
    const Facts facts(device);
    if (isOwnCamera(facts.first({ "node.name" })) || (!isVideo && isMonitor(facts)))
        return nullptr;
    const GTextOwner name(gst_device_get_display_name(device));
    AVCaptureDevice::Properties properties;
    properties.localizedName = name ? name.get() : "";
    properties.manufacturer
        = facts.first({ "device.vendor.name", "device.vendor", "api.v4l2.cap.manufacturer", "udev-probed.vendor" });
    properties.mediaType = isVideo ? AVMediaTypeVideo : AVMediaTypeAudio;
    const auto identity
        = facts.first({ "node.name", "device.serial", "device.bus_path", "sysfs.path", "device.path", "object.path" });
    properties.uniqueID = mList.unusedIdentifier(identity.empty() ? properties.localizedName : identity);
    properties.formats = isVideo ? videoFormats(device) : std::vector { audioFormat() };

    const std::shared_ptr<GstDevice> host(static_cast<GstDevice*>(gst_object_ref(device)), GstObjectDeleter {});
    if (isVideo)
        return make<AVCaptureDevice>(std::move(properties),
            [host](CaptureSink& sink) { return std::make_unique<GStreamerVideoSource>(sink, host.get()); });
    return make<AVCaptureDevice>(std::move(properties),
        [host](CaptureSink& sink) { return std::make_unique<GStreamerAudioSource>(sink, host.get()); });
}
