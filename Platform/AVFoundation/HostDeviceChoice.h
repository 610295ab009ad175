#pragma once

#include "Platform/AVFoundation/AVCaptureDevice.h"

#include <map>
#include <set>
#include <vector>

/// Decides which of the devices that the host's libraries name are shown, so that each device of the machine is shown
/// once.
///
/// A camera is named by PipeWire and by V4L2, a microphone by PipeWire, PulseAudio and ALSA. PipeWire's is the one to
/// use, because it can be shared. What PipeWire has served once is not read past it, not even while PipeWire restarts:
/// a device that we held would be missing when it comes back. And a camera that V4L2 names first waits a moment where
/// PipeWire serves cameras, so that it is not shown and replaced.
///
/// Knows no library and no clock, and locks nothing.
class HostDeviceChoice {
public:
    enum class Library { PipeWire, V4L2, PulseAudio, ALSA, Other };
    /// How long a camera of V4L2 may have to wait for PipeWire to name it too, in nanoseconds.
    static constexpr std::int64_t patience = 2'000'000'000;

    struct Candidate {
        Library library = Library::Other;
        std::string path; ///< the device file of a camera, empty where it has none or none is known
        Ref<AVCaptureDevice> device;
    };
    /// What is to be told now, the arrivals first.
    struct Changes {
        std::vector<Ref<AVCaptureDevice>> came;
        std::vector<Ref<AVCaptureDevice>> went;
    };

    /// \param key  names the candidate from now on
    /// \param mayWait  whether a camera may have to wait; false for those that are there from the start
    void came(const void* key, Candidate candidate, std::int64_t now, bool mayWait = true);
    void went(const void* key);
    /// The candidate has another key from now on.
    void rename(const void* key, const void* newKey);
    /// Borrowed; null for a key that names none.
    AVCaptureDevice* device(const void* key) const;
    /// \p uniqueID, or with a number behind it when a candidate has it already.
    std::string unusedIdentifier(const std::string& uniqueID) const;
    /// The library names a microphone or a loudspeaker, shown or not: it is the one that does the sound.
    void doesSound(Library library) { mDoSound.insert(library); }
    /// Everything that the library has named has gone.
    void wentAll(Library library);
    /// What has become of it all by now.
    Changes changes(std::int64_t now);
    /// When `changes` is to be asked again though nothing came or went; 0 for never.
    std::int64_t nextTime() const;

private:
    struct Entry {
        Candidate candidate;
        std::int64_t shownFrom = 0;
        bool isShown = false;
    };
    bool isWanted(const Entry& entry, std::int64_t now) const;

    std::map<const void*, Entry> mEntries;
    std::vector<const void*> mOrder; ///< keys, as they came
    std::vector<Ref<AVCaptureDevice>> mGone; ///< shown until now
    std::set<std::string> mServedPaths; ///< of the cameras that PipeWire has served
    std::set<Library> mDoSound;
};
