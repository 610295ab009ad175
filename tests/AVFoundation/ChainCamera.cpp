#include "tests/AVFoundation/ChainCamera.h"

#include <thread>

namespace {

struct ChainDevice {
    GstDevice parent;
    ChainCamera* camera;
};
struct ChainDeviceClass {
    GstDeviceClass parent;
};

}

GstElement* makeChainElement(GstDevice* device)
{
    auto& camera = *reinterpret_cast<ChainDevice*>(device)->camera;
    if (camera.mChain != "appsrc")
        return gst_parse_bin_from_description(camera.mChain.c_str(), TRUE, nullptr);
    GstElement* const element = gst_element_factory_make("appsrc", nullptr);
    g_object_set(element, "is-live", TRUE, "format", GST_FORMAT_TIME, nullptr);
    camera.mElement.reset(static_cast<GstElement*>(gst_object_ref(element)));
    const GstOwned<GstPad> pad(gst_element_get_static_pad(element, "src"));
    gst_pad_add_probe(
        pad.get(), GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad*, GstPadProbeInfo*, gpointer self) {
            const std::lock_guard lock(static_cast<ChainCamera*>(self)->mHandOver);
            return GST_PAD_PROBE_OK;
        },
        &camera, nullptr);
    return element;
}

namespace {

GType chainDeviceType()
{
    static const GType registered = [] {
        GTypeInfo info {};
        info.class_size = sizeof(ChainDeviceClass);
        info.instance_size = sizeof(ChainDevice);
        info.class_init = [](gpointer type, gpointer) {
            GST_DEVICE_CLASS(type)->create_element
                = [](GstDevice* device, const gchar*) { return makeChainElement(device); };
        };
        return g_type_register_static(GST_TYPE_DEVICE, "TovrinChainDevice", &info, GTypeFlags {});
    }();
    return registered;
}

}

ChainCamera::ChainCamera(std::string chain, const std::string& caps)
    : mChain(std::move(chain))
{
    gst_init(nullptr, nullptr);
    const GstCapsOwner offered(gst_caps_from_string(caps.c_str()));
    auto* const made = static_cast<ChainDevice*>(g_object_new(
        chainDeviceType(), "caps", offered.get(), "display-name", "Chain", "device-class", "Video/Source", nullptr));
    made->camera = this;
    mDevice.reset(static_cast<GstDevice*>(gst_object_ref_sink(&made->parent)));
}

void ChainCamera::push(const std::string& caps, std::vector<std::uint8_t> bytes, std::int64_t time)
{
    std::this_thread::sleep_until(mLastPush + interval);
    mLastPush = std::chrono::steady_clock::now();
    std::unique_lock handOver(mHandOver);
    GstBuffer* const buffer = bytes.empty() ? gst_buffer_new() : gst_buffer_new_memdup(bytes.data(), bytes.size());
    if (time >= 0) {
        GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(time);
    } else {
        const GstOwned<GstClock> clock(gst_element_get_clock(mElement.get()));
        if (clock)
            GST_BUFFER_PTS(buffer) = gst_clock_get_time(clock.get()) - gst_element_get_base_time(mElement.get());
    }
    handOver.unlock();
    const GstCapsOwner form(gst_caps_from_string(caps.c_str()));
    const GstSampleOwner sample(gst_sample_new(buffer, form.get(), nullptr, nullptr));
    gst_buffer_unref(buffer);
    push(sample.get());
}

void ChainCamera::push(GstSample* sample)
{
    gst_app_src_push_sample(GST_APP_SRC(mElement.get()), sample);
}

void ChainCamera::pushTags(const char* tags)
{
    gst_element_send_event(mElement.get(), gst_event_new_tag(gst_tag_list_new_from_string(tags)));
}

bool NotingSink::admitPicture()
{
    const std::lock_guard lock(mLock);
    admitted += refuses ? 0 : 1;
    return !refuses;
}

void NotingSink::pictureCame(Ref<CVPixelBuffer> picture, std::int64_t hostTime, std::int64_t duration)
{
    const std::lock_guard lock(mLock);
    mLastPicture = std::move(picture);
    times.push_back(hostTime);
    lastDuration = duration;
    ++pictures;
    mCame.notify_all();
}

void NotingSink::pictureFailed()
{
    const std::lock_guard lock(mLock);
    ++failures;
    mCame.notify_all();
}

void NotingSink::sourceFailed(Ref<NSError> error)
{
    const std::lock_guard lock(mLock);
    lastError = std::move(error);
    mCame.notify_all();
}

std::array<int, 3> NotingSink::pixel(std::size_t x, std::size_t y)
{
    const std::lock_guard lock(mLock);
    const auto* const at = mLastPicture->baseAddress() + y * mLastPicture->bytesPerRow() + x * 4;
    return { std::to_integer<int>(at[0]), std::to_integer<int>(at[1]), std::to_integer<int>(at[2]) };
}

Ref<CVPixelBuffer> NotingSink::last()
{
    const std::lock_guard lock(mLock);
    return mLastPicture;
}
