#include "Platform/AVFoundation/AVCaptureDevice.h"

#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/AVFoundation/CaptureSource.h"
#include "Platform/CoreFoundation/FailPoint.h"

NS_IMPLEMENTATION(AVCaptureDevice, NSObject)
{
    type.message("uniqueID", &AVCaptureDevice::uniqueID);
    type.message("localizedName", &AVCaptureDevice::localizedName);
    type.message("manufacturer", &AVCaptureDevice::manufacturer);
    type.message("position", &AVCaptureDevice::position);
    type.message("hasMediaType:", &AVCaptureDevice::hasMediaType);
    type.message("formats", &AVCaptureDevice::formats);
    type.message("activeFormat", &AVCaptureDevice::activeFormat);
    type.key("uniqueID", &AVCaptureDevice::uniqueID);
    type.key("localizedName", &AVCaptureDevice::localizedName);
    type.key("manufacturer", &AVCaptureDevice::manufacturer);
    type.key("position", &AVCaptureDevice::position);
    type.key("formats", &AVCaptureDevice::formats);
    type.key("activeFormat", &AVCaptureDevice::activeFormat);
}

namespace {

CFString* textOrNull(const std::string& text)
{
    return text.empty() ? nullptr : autorelease(CFString::create(text));
}

}

AVCaptureDevice::AVCaptureDevice(Properties properties, SourceMaker makeSource)
    : mProperties(std::move(properties))
    , mFormats(CFArray::create(mProperties.formats))
    , mMakeSource(std::move(makeSource))
{
}

CFArray* AVCaptureDevice::devicesWithMediaType(AVMediaType mediaType)
{
    if (FAIL_POINT("AVCaptureDevice.devicesWithMediaType"))
        return nullptr;
    if (FAIL_POINT("AVCaptureDevice.none"))
        return autorelease(CFArray::create());
    return autorelease(CFArray::create(CaptureDeviceList::shared().devices(mediaType)));
}

AVCaptureDevice* AVCaptureDevice::deviceWithUniqueID(CFString* uniqueID)
{
    for (const auto mediaType : { AVMediaTypeVideo, AVMediaTypeAudio }) {
        for (const auto& device : CaptureDeviceList::shared().devices(mediaType))
            if (device->mProperties.uniqueID == textOf(uniqueID))
                return autorelease(device);
    }
    return nullptr;
}

CFString* AVCaptureDevice::uniqueID() const
{
    return textOrNull(mProperties.uniqueID);
}

CFString* AVCaptureDevice::localizedName() const
{
    return textOrNull(mProperties.localizedName);
}

CFString* AVCaptureDevice::manufacturer() const
{
    return textOrNull(mProperties.manufacturer);
}

bool AVCaptureDevice::hasMediaType(AVMediaType mediaType) const
{
    return mediaType && CFEqual(mediaType, mProperties.mediaType);
}

AVCaptureDeviceFormat* AVCaptureDevice::activeFormat() const
{
    return mProperties.formats.empty() ? nullptr : mProperties.formats.front().get();
}

bool AVCaptureDevice::isConnected() const
{
    return CaptureDeviceList::shared().contains(this);
}

bool AVCaptureDevice::isStandIn() const
{
    return CaptureDeviceList::shared().standIn(mProperties.mediaType) == this;
}

std::unique_ptr<CaptureSource> AVCaptureDevice::makeSource(CaptureSink& sink) const
{
    return mMakeSource ? mMakeSource(sink) : nullptr;
}

std::string AVCaptureDevice::description()
{
    return mProperties.localizedName + " [" + mProperties.uniqueID + "]";
}
