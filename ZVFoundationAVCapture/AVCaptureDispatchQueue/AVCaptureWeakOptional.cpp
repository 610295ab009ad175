#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureWeakOptional.h"

namespace AVCapture {

WeakOptional::WeakOptional(NSObject* object)
    : mWeakReference(object)
{
}

WeakOptional::WeakOptional(const WeakOptional& other)
{
    store(other.strongReferenceOrNil());
}

WeakOptional& WeakOptional::operator=(const WeakOptional& other)
{
    store(other.strongReferenceOrNil());
    return *this;
}

WeakOptional::~WeakOptional()
{
    store(nullptr);
}

WeakOptional& WeakOptional::operator=(NSObject* object)
{
    store(object);
    return *this;
}

Ref<NSObject> WeakOptional::strongReferenceOrNil() const
{
    const std::lock_guard guard(mLock);
    return mWeakReference.strongReference();
}

NSObject* WeakOptional::retainedAndAutoreleasedOrNil() const
{
    return autorelease(strongReferenceOrNil());
}

bool WeakOptional::async_dispatch(dispatch_queue_t queue, std::function<void(NSObject*)> block) const
{
    auto object = strongReferenceOrNil();
    const bool present = object != nullptr;
    dispatch_async(queue, [object = std::move(object), block = std::move(block)] { block(object); });
    return present;
}

void WeakOptional::store(WeakRef<NSObject> reference) noexcept
{
    const std::lock_guard guard(mLock);
    mWeakReference = std::move(reference);
}

}
