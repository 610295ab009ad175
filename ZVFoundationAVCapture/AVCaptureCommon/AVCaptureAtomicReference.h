#pragma once

#include "Platform/CoreFoundation/CFType.h"

#include <mutex>

/// The field behind an atomic strong property: one thread may replace the object while others read it.
template <class T> class AVCaptureAtomicReference {
public:
    /// Kept by the innermost pool of the calling thread.
    T* get() const { return autorelease(strongReference()); }
    Ref<T> strongReference() const
    {
        const std::lock_guard lock(mLock);
        return mObject;
    }
    /// The former object is released outside the lock.
    void set(Ref<T> object)
    {
        const std::lock_guard lock(mLock);
        std::swap(mObject, object);
    }

private:
    mutable std::mutex mLock;
    Ref<T> mObject;
};
