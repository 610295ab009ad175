#include "Platform/AVFoundation/CaptureDeviceList.h"

#include "Platform/AVFoundation/GStreamerDeviceMonitor.h"
#include "Platform/AVFoundation/SilenceSource.h"
#include "Platform/AVFoundation/TestPictureSource.h"
#include "Platform/Foundation/NSNotification.h"

#include <algorithm>
#include <chrono>

namespace {

constexpr auto longestWait = std::chrono::seconds(2);

void post(CFString* name, Ref<AVCaptureDevice> device)
{
    dispatch_async(dispatch_get_main_queue(), [name, device = std::move(device)] {
        NSNotificationCenter::defaultCenter()->postNotificationName_object(name, device);
    });
}

}

CaptureDeviceList& CaptureDeviceList::shared()
{
    // Never destroyed: the host's threads may still name devices while the process ends.
    static auto* const list = std::make_unique<CaptureDeviceList>().release();
    return *list;
}

CaptureDeviceList::CaptureDeviceList()
    : mTestPicture(TestPictureSource::makeDevice())
    , mSilence(SilenceSource::makeDevice())
    , mQueue(dispatch_queue_create("CaptureDeviceList"))
{
}

CaptureDeviceList::~CaptureDeviceList() = default;

void CaptureDeviceList::begin()
{
    {
        const std::lock_guard lock(mLock);
        if (mState != State::Idle)
            return;
        mState = mUsesHost ? State::Asking : State::Answered;
        if (!mUsesHost)
            return;
    }
    dispatch_async(mQueue, [this] {
        mMonitor = std::make_shared<GStreamerDeviceMonitor>(*this, mQueue);
        mMonitor->start();
        const std::lock_guard lock(mLock);
        mState = State::Answered;
        mAnswered.notify_all();
    });
}

std::vector<Ref<AVCaptureDevice>> CaptureDeviceList::devices(AVMediaType mediaType)
{
    begin();
    std::unique_lock lock(mLock);
    mAnswered.wait_for(lock, longestWait, [this] { return mState == State::Answered; });
    std::vector<Ref<AVCaptureDevice>> result;
    std::ranges::copy_if(mDevices, std::back_inserter(result),
        [mediaType](const Ref<AVCaptureDevice>& device) { return device->hasMediaType(mediaType); });
    std::stable_partition(result.begin(), result.end(),
        [this](const Ref<AVCaptureDevice>& device) { return device->properties().uniqueID == mDefaultMicrophone; });
    std::stable_partition(result.begin(), result.end(),
        [](const Ref<AVCaptureDevice>& device) { return !device->properties().isColourless; });
    if (const auto& other = standIn(mediaType); other && result.empty())
        result.push_back(other);
    return result;
}

bool CaptureDeviceList::contains(const AVCaptureDevice* device)
{
    const std::lock_guard lock(mLock);
    if (std::ranges::find(mDevices, device, [](const auto& each) { return each.get(); }) != mDevices.end())
        return true;
    for (const auto& other : { mTestPicture, mSilence })
        if (other == device)
            return !hasReal(other->properties().mediaType);
    return false;
}

void CaptureDeviceList::deviceCame(Ref<AVCaptureDevice> device)
{
    const auto mediaType = device->properties().mediaType;
    const std::lock_guard lock(mLock);
    const bool replacesStandIn = !hasReal(mediaType);
    mDevices.push_back(device);
    if (mState == State::Asking)
        return;
    post(AVCaptureDeviceWasConnectedNotification, device);
    if (replacesStandIn)
        post(AVCaptureDeviceWasDisconnectedNotification, standIn(mediaType));
}

void CaptureDeviceList::deviceWent(AVCaptureDevice* device)
{
    const std::lock_guard lock(mLock);
    const auto found = std::ranges::find(mDevices, device, [](const auto& each) { return each.get(); });
    if (found == mDevices.end())
        return;
    const auto gone = *found;
    mDevices.erase(found);
    if (mState == State::Asking)
        return;
    const auto mediaType = gone->properties().mediaType;
    if (!hasReal(mediaType))
        post(AVCaptureDeviceWasConnectedNotification, standIn(mediaType));
    post(AVCaptureDeviceWasDisconnectedNotification, gone);
}

void CaptureDeviceList::setDefaultMicrophone(const std::string& uniqueID)
{
    const std::lock_guard lock(mLock);
    if (std::exchange(mDefaultMicrophone, uniqueID) != uniqueID && mState == State::Answered)
        post(AVCaptureDeviceDefaultMicrophoneChangedNotification, nullptr);
}

std::string CaptureDeviceList::unusedIdentifier(const std::string& uniqueID)
{
    const std::lock_guard lock(mLock);
    const auto isUsed = [this](const std::string& identifier) {
        return std::ranges::any_of(
            mDevices, [&](const auto& device) { return device->properties().uniqueID == identifier; });
    };
    std::string result = uniqueID;
    for (int number = 2; isUsed(result); ++number)
        result = uniqueID + "#" + std::to_string(number);
    return result;
}

void CaptureDeviceList::useHostDevices(bool use)
{
    const std::lock_guard lock(mLock);
    mUsesHost = use;
}

void CaptureDeviceList::removeAll()
{
    const std::lock_guard lock(mLock);
    mDevices.clear();
    mDefaultMicrophone.clear();
}

bool CaptureDeviceList::hasReal(AVMediaType mediaType) const
{
    return std::ranges::any_of(mDevices, [mediaType](const auto& device) { return device->hasMediaType(mediaType); });
}

const Ref<AVCaptureDevice>& CaptureDeviceList::standIn(AVMediaType mediaType) const
{
    static const Ref<AVCaptureDevice> none;
    if (CFEqual(mediaType, AVMediaTypeVideo))
        return mTestPicture;
    return CFEqual(mediaType, AVMediaTypeAudio) ? mSilence : none;
}
