#pragma once

#include "Platform/CoreMediaIO/ExtensionObjects.h"
#include "Platform/CoreMediaIO/SinkQueue.h"

#include <atomic>
#include <thread>

/// This process's side of the user's camera extension: notices when one appears or goes, keeps what it said of itself,
/// and carries questions and frames to it.
///
/// One for the process, made at the first call and never destroyed; its thread ends with the process. While nothing
/// happens the thread sleeps: the folder of the socket is watched, not asked.
class CameraClient final : public CFType {
public:
    static CameraClient& shared();

    /// An extension as it stands.
    struct Extension {
        std::shared_ptr<const ExtensionObjects> objects;
        std::shared_ptr<ExtensionConnection> connection;
        explicit operator bool() const noexcept { return objects != nullptr; }
    };
    /// The extension that answers now, if any. The first call gives a listening extension the time limit to do so.
    Extension extension();

    OSStatus setStreamRunning(CMIOStreamID stream, bool isRunning);
    OSStatus openQueue(CMIOStreamID stream, CMIODeviceStreamQueueAlteredProc altered, CFTypeRef alteredRefCon,
        Ref<CMSimpleQueue>* queue);

    CameraClient();

private:
    void run();
    void connect();
    void disconnect();
    void extensionAppeared(CameraWire::Welcome welcome);
    void frameConsumed(const CameraWire::FrameConsumed& frame);
    void watchFolder();
    bool folderChanged();
    void post(std::function<void()> work);
    void runPosted();
    void stop();
    void settle();

    const UniqueFD mWakeUp;
    UniqueFD mFolderWatch;
    std::shared_ptr<ExtensionConnection> mConnection; ///< of the thread; open, perhaps not greeted yet
    std::atomic<bool> mIsStopping { false };

    std::mutex mLock;
    std::condition_variable mSettled;
    bool mIsSettled = false; ///< whether the first attempt to connect has had its end
    Extension mExtension;
    std::shared_ptr<SinkQueue> mSink;
    bool mIsSinkRunning = false;
    std::uint32_t mLastGeneration = 0;
    CMIOObjectID mNextIdentifier = kCMIOObjectSystemObject + 1;
    std::vector<std::function<void()>> mPosted;

    std::thread mThread;
};
