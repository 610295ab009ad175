#include "Platform/CoreMediaIO/CameraClient.h"

#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSNotification.h"

#include <array>
#include <chrono>
#include <cstdlib>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>

using namespace CameraWire;

namespace {

void postOnMainQueue(const char* name, const std::string& deviceUID)
{
    dispatch_async(dispatch_get_main_queue(), [name, uid = CFString::create(deviceUID)] {
        NSNotificationCenter::defaultCenter()->postNotificationName_object(CFSTR(name), uid.get());
    });
}

}

CameraClient& CameraClient::shared()
{
    // Never destroyed: other threads may call until the process is gone.
    static CameraClient& client = *make<CameraClient>().leak();
    return client;
}

CameraClient::CameraClient()
    : mWakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , mThread([this] { run(); })
{
    std::atexit([] { shared().stop(); });
}

void CameraClient::stop()
{
    mIsStopping = true;
    post([] {});
    if (mThread.joinable())
        mThread.join();
}

void CameraClient::post(std::function<void()> work)
{
    {
        const std::lock_guard guard(mLock);
        mPosted.push_back(std::move(work));
    }
    ::eventfd_write(mWakeUp.get(), 1);
}

void CameraClient::runPosted()
{
    eventfd_t count = 0;
    ::eventfd_read(mWakeUp.get(), &count);
    std::vector<std::function<void()>> posted;
    {
        const std::lock_guard guard(mLock);
        posted.swap(mPosted);
    }
    for (const auto& work : posted) {
        const AutoreleasePool pool;
        work();
    }
}

void CameraClient::run()
{
    ::pthread_setname_np(::pthread_self(), "CMIO");
    watchFolder();
    connect();
    while (!mIsStopping) {
        std::array<pollfd, 3> waiting { { { mWakeUp.get(), POLLIN, 0 }, { mFolderWatch.get(), POLLIN, 0 },
            { mConnection ? mConnection->descriptor() : -1, POLLIN, 0 } } };
        if (::poll(waiting.data(), waiting.size(), -1) < 0)
            continue;
        if (waiting[0].revents)
            runPosted();
        if (waiting[2].revents
            && !mConnection->read([this](Welcome welcome) { extensionAppeared(std::move(welcome)); },
                [this](const FrameConsumed& frame) { frameConsumed(frame); })) {
            disconnect();
            // Another one may have taken the place already, its arrival missed while this one was connected.
            connect();
        }
        if (waiting[1].revents && folderChanged() && !mConnection)
            connect();
    }
}

/// The socket takes its name when it can be connected to, so a new name is worth an attempt.
void CameraClient::watchFolder()
{
    const auto folder = SocketPath::folder();
    mFolderWatch.reset(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!folder.empty())
        ::inotify_add_watch(mFolderWatch.get(), folder.c_str(), IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF);
}

/// \return whether a socket may have appeared
bool CameraClient::folderChanged()
{
    alignas(inotify_event) std::array<char, 4096> events;
    const auto length = ::read(mFolderWatch.get(), events.data(), events.size());
    for (ssize_t offset = 0; offset < length;) {
        const auto* const event = reinterpret_cast<const inotify_event*>(events.data() + offset);
        if (event->mask & (IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF)) {
            // The folder itself has gone. A new one is made and watched.
            watchFolder();
            return true;
        }
        offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    return length > 0;
}

void CameraClient::connect()
{
    const auto folder = SocketPath::folder();
    auto socket = folder.empty() ? Socket() : Socket::connectTo(folder + "/" + std::string(SocketPath::kSocketName));
    if (socket.isValid()) {
        mConnection = std::make_shared<ExtensionConnection>(std::move(socket));
        if (mConnection->sendHello())
            return;
        mConnection.reset();
    }
    settle();
}

void CameraClient::settle()
{
    const std::lock_guard guard(mLock);
    mIsSettled = true;
    mSettled.notify_all();
}

void CameraClient::disconnect()
{
    mConnection->close();
    mConnection.reset();
    Extension gone;
    std::shared_ptr<SinkQueue> sink;
    {
        const std::lock_guard guard(mLock);
        gone = std::exchange(mExtension, {});
        sink = std::exchange(mSink, nullptr);
        mIsSinkRunning = false;
    }
    if (sink)
        sink->close();
    settle();
    if (gone)
        postOnMainQueue("AVCaptureDeviceWasDisconnectedNotification", gone.objects->deviceUID());
}

void CameraClient::extensionAppeared(Welcome welcome)
{
    std::string deviceUID;
    {
        const std::lock_guard guard(mLock);
        mExtension.objects = std::make_shared<ExtensionObjects>(std::move(welcome), mNextIdentifier);
        mExtension.connection = mConnection;
        mNextIdentifier += static_cast<CMIOObjectID>(mExtension.objects->count());
        deviceUID = mExtension.objects->deviceUID();
    }
    settle();
    postOnMainQueue("AVCaptureDeviceWasConnectedNotification", deviceUID);
}

void CameraClient::frameConsumed(const FrameConsumed& frame)
{
    std::shared_ptr<SinkQueue> sink;
    {
        const std::lock_guard guard(mLock);
        sink = mSink;
    }
    // Frames of a queue that was replaced have been given back already.
    const AutoreleasePool pool;
    if (sink && sink->generation() == frame.generation)
        sink->consumed(frame.token);
}

CameraClient::Extension CameraClient::extension()
{
    std::unique_lock guard(mLock);
    mSettled.wait_for(
        guard, std::chrono::duration<double>(kCMIOExtensionTimeLimitSeconds), [this] { return mIsSettled; });
    mIsSettled = true;
    return mExtension;
}

OSStatus CameraClient::setStreamRunning(CMIOStreamID stream, bool isRunning)
{
    const auto current = extension();
    const auto* const object = current ? current.objects->object(stream) : nullptr;
    if (!object || object->classID != kCMIOStreamClassID)
        return kCMIOHardwareBadStreamError;
    const auto kind = isRunning ? Kind::StartStream : Kind::StopStream;
    const auto status = current.connection->ask(
        [&](std::uint32_t serial) {
            return encode(kind, StreamRequest { object->identifier, 0 }, serial);
        },
        nullptr);
    if (status != noErr || !current.objects->hasStream(kCMIODevicePropertyScopeOutput, stream))
        return status;
    std::shared_ptr<SinkQueue> sink;
    {
        const std::lock_guard guard(mLock);
        if (mExtension.connection != current.connection)
            return kCMIOHardwareNotRunningError;
        mIsSinkRunning = isRunning;
        sink = mSink;
    }
    if (sink)
        isRunning ? sink->start() : sink->stop();
    return noErr;
}

OSStatus CameraClient::openQueue(
    CMIOStreamID stream, CMIODeviceStreamQueueAlteredProc altered, CFTypeRef alteredRefCon, Ref<CMSimpleQueue>* queue)
{
    const auto current = extension();
    if (!current || !current.objects->hasStream(kCMIODevicePropertyScopeOutput, stream))
        return kCMIOHardwareBadStreamError;
    const auto wireStream = current.objects->object(stream)->identifier;
    std::uint32_t generation = 0;
    {
        const std::lock_guard guard(mLock);
        generation = ++mLastGeneration;
    }
    const auto status = current.connection->ask(
        [&](std::uint32_t serial) {
            return encode(Kind::OpenQueue, StreamRequest { wireStream, generation }, serial);
        },
        nullptr);
    if (status != noErr)
        return status;

    const auto sink = std::make_shared<SinkQueue>(
        current.connection, [this](std::function<void()> work) { post(std::move(work)); }, stream, wireStream,
        generation, altered, alteredRefCon);
    *queue = sink->createQueue();
    if (!*queue)
        return kCMIOHardwareUnspecifiedError;
    std::shared_ptr<SinkQueue> replaced = sink;
    bool isRunning = false;
    {
        const std::lock_guard guard(mLock);
        // An extension that went meanwhile took its queue along: this one is closed at once.
        if (mExtension.connection == current.connection)
            replaced = std::exchange(mSink, sink);
        isRunning = mIsSinkRunning;
    }
    if (replaced)
        replaced->close();
    if (isRunning && replaced != sink)
        sink->start();
    return noErr;
}
