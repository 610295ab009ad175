#include "CameraExtension/EventLoop.h"

#include <new>
#include <utility>

#include <pipewire/pipewire.h>

/// The callback lives beside the loop's source, and outlives a call of it during which the watch ends.
struct EventLoop::Source {
    pw_loop* loop = nullptr;
    spa_source* source = nullptr;
    std::shared_ptr<std::function<void()>> callback;

    void call() const
    {
        const auto kept = callback;
        (*kept)();
    }
};

void EventLoop::SourceDeleter::operator()(Source* source) const
{
    const std::unique_ptr<Source> owned(source);
    if (owned->source)
        pw_loop_destroy_source(owned->loop, owned->source);
}

EventLoop::EventLoop()
    : mMain(pw_main_loop_new(nullptr), &pw_main_loop_destroy)
    , mLoop(mMain ? pw_main_loop_get_loop(mMain.get()) : nullptr)
{
    if (!mMain)
        throw std::bad_alloc();
}

EventLoop::~EventLoop() = default;

void EventLoop::run()
{
    pw_main_loop_run(mMain.get());
}

void EventLoop::quit()
{
    pw_main_loop_quit(mMain.get());
}

EventLoop::Watch EventLoop::watchDescriptor(int descriptor, std::function<void()> readable)
{
    auto watch = std::make_unique<Source>();
    watch->loop = mLoop;
    watch->callback = std::make_shared<std::function<void()>>(std::move(readable));
    watch->source = pw_loop_add_io(
        mLoop, descriptor, SPA_IO_IN | SPA_IO_HUP | SPA_IO_ERR, false,
        [](void* data, int, std::uint32_t) { static_cast<Source*>(data)->call(); }, watch.get());
    return Watch(watch.release());
}

EventLoop::Watch EventLoop::watchSignal(int number, std::function<void()> arrived)
{
    auto watch = std::make_unique<Source>();
    watch->loop = mLoop;
    watch->callback = std::make_shared<std::function<void()>>(std::move(arrived));
    watch->source = pw_loop_add_signal(
        mLoop, number, [](void* data, int) { static_cast<Source*>(data)->call(); }, watch.get());
    return Watch(watch.release());
}

EventLoop::Watch EventLoop::makeTimer(std::function<void()> expired)
{
    auto watch = std::make_unique<Source>();
    watch->loop = mLoop;
    watch->callback = std::make_shared<std::function<void()>>(std::move(expired));
    watch->source = pw_loop_add_timer(
        mLoop, [](void* data, std::uint64_t) { static_cast<Source*>(data)->call(); }, watch.get());
    return Watch(watch.release());
}

void EventLoop::setTimer(const Watch& timer, std::chrono::nanoseconds delay)
{
    timespec value {};
    if (delay.count() >= 0) {
        // A zero value would unset the timer.
        const auto count = delay.count() == 0 ? 1 : delay.count();
        value.tv_sec = static_cast<time_t>(count / SPA_NSEC_PER_SEC);
        value.tv_nsec = static_cast<long>(count % SPA_NSEC_PER_SEC);
    }
    pw_loop_update_timer(mLoop, timer->source, &value, nullptr, false);
}
