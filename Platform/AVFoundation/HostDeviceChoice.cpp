#include "Platform/AVFoundation/HostDeviceChoice.h"

#include <algorithm>

void HostDeviceChoice::came(const void* key, Candidate candidate, std::int64_t now, bool mayWait)
{
    if (mEntries.contains(key))
        return;
    if (candidate.device->hasMediaType(AVMediaTypeAudio))
        doesSound(candidate.library);
    else if (candidate.library == Library::PipeWire && !candidate.path.empty())
        mServedPaths.insert(candidate.path);
    const bool waits = mayWait && candidate.library == Library::V4L2 && !mServedPaths.empty();
    mEntries.emplace(key, Entry { std::move(candidate), waits ? now + patience : 0 });
    mOrder.push_back(key);
}

void HostDeviceChoice::went(const void* key)
{
    const auto found = mEntries.find(key);
    if (found == mEntries.end())
        return;
    if (found->second.isShown)
        mGone.push_back(found->second.candidate.device);
    mEntries.erase(found);
    std::erase(mOrder, key);
}

void HostDeviceChoice::rename(const void* key, const void* newKey)
{
    auto node = key == newKey ? decltype(mEntries)::node_type() : mEntries.extract(key);
    if (node.empty())
        return;
    node.key() = newKey;
    mEntries.insert(std::move(node));
    std::ranges::replace(mOrder, key, newKey);
}

AVCaptureDevice* HostDeviceChoice::device(const void* key) const
{
    const auto found = mEntries.find(key);
    return found == mEntries.end() ? nullptr : found->second.candidate.device.get();
}

std::string HostDeviceChoice::unusedIdentifier(const std::string& uniqueID) const
{
    const auto isUsed = [this](const std::string& identifier) {
        return std::ranges::any_of(mEntries,
            [&](const auto& each) { return each.second.candidate.device->properties().uniqueID == identifier; });
    };
    std::string result = uniqueID;
    for (int number = 2; isUsed(result); ++number)
        result = uniqueID + "#" + std::to_string(number);
    return result;
}

void HostDeviceChoice::wentAll(Library library)
{
    for (const auto* const key : std::vector(mOrder))
        if (mEntries.at(key).candidate.library == library)
            went(key);
}

HostDeviceChoice::Changes HostDeviceChoice::changes(std::int64_t now)
{
    Changes result;
    result.went.swap(mGone);
    for (const auto* const key : mOrder) {
        auto& entry = mEntries.at(key);
        const bool isWanted = this->isWanted(entry, now);
        if (isWanted != entry.isShown)
            (isWanted ? result.came : result.went).push_back(entry.candidate.device);
        entry.isShown = isWanted;
    }
    return result;
}

std::int64_t HostDeviceChoice::nextTime() const
{
    std::int64_t result = 0;
    for (const auto& [key, entry] : mEntries)
        if (!entry.isShown && entry.shownFrom > 0 && !mServedPaths.contains(entry.candidate.path))
            result = result == 0 ? entry.shownFrom : std::min(result, entry.shownFrom);
    return result;
}

bool HostDeviceChoice::isWanted(const Entry& entry, std::int64_t now) const
{
    switch (entry.candidate.library) {
    case Library::PipeWire:
    case Library::Other:
        return true;
    case Library::V4L2:
        return !mServedPaths.contains(entry.candidate.path) && now >= entry.shownFrom;
    case Library::PulseAudio:
        return !mDoSound.contains(Library::PipeWire);
    case Library::ALSA:
        return !mDoSound.contains(Library::PipeWire) && !mDoSound.contains(Library::PulseAudio);
    }
    return true;
}
