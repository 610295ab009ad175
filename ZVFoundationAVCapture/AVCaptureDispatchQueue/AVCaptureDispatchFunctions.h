#pragma once

#include "Platform/dispatch/dispatch.h"
#include "WithRequirements/NSIsRunningOnMainThread.h"

/// A new queue, funnelled into \p target if one came back.
Ref<dispatch_queue> avcapture_dispatch_queue_create_with_target(
    const char* label, const void* attributes, dispatch_queue_t target);
/// The same with no attributes.
Ref<dispatch_queue> avcapture_dispatch_queue_create_serial_with_target(const char* label, dispatch_queue_t target);

/// Runs \p block at once on the main thread, else posts it to the target queue of the main queues.
void AVCaptureDispatchMainQueue_AsyncIfDispatch(dispatch_block_t block);

/// What is run by the two functions below: self, the object, and whether it runs on the caller's stack.
template <class Self, class Object> using avcapture_dispatch_main_block = std::function<void(Self*, Object*, bool)>;

namespace AVCapture {

/// What a waiting reference gives when its turn comes: a strong one itself, a weak one whatever still lives.
template <class T> Ref<T> takenReference(Ref<T>& waiting)
{
    return std::move(waiting);
}
template <class T> Ref<T> takenReference(WeakRef<T>& waiting)
{
    return waiting.strongReference();
}

/// The one form of both hops, which differ in the \p Reference that holds self while the work waits.
template <template <class> class Reference, class Self, class Object>
void dispatchMainWithSelf(Self* self, Object* object, avcapture_dispatch_main_block<Self, Object> block)
{
    if (!block)
        return;
    if (__NSIsRunningOnMainThread()) {
        block(self, object, true);
        return;
    }
    dispatch_async(dispatch_get_main_queue(),
        [waitingSelf = Reference<Self>(self), waitingObject = Ref(object), block = std::move(block)]() mutable {
            auto strongSelf = takenReference(waitingSelf);
            block(strongSelf.get(), waitingObject.get(), false);
            waitingObject = nullptr;
            strongSelf = nullptr;
            block = nullptr;
        });
}

}

/// Calls \p block at once on the main thread, else posts it to the main queue and holds self and the object until it
/// has run; then the object goes, then self, then the closure. A null block does nothing.
template <class Self, class Object>
void avcapture_dispatch_main_strong_self(
    Self* self, Object* object, std::type_identity_t<avcapture_dispatch_main_block<Self, Object>> block)
{
    AVCapture::dispatchMainWithSelf<Ref>(self, object, std::move(block));
}

/// The same, except that self is held only weakly while the work waits. \p block must allow for a null self.
template <class Self, class Object>
void avcapture_dispatch_main_weak_self(
    Self* self, Object* object, std::type_identity_t<avcapture_dispatch_main_block<Self, Object>> block)
{
    AVCapture::dispatchMainWithSelf<WeakRef>(self, object, std::move(block));
}
