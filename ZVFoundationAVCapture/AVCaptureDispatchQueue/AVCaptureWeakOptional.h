#pragma once

#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSObject.h"

namespace AVCapture {

/// One weak object reference: the field behind a weak delegate. May be assigned on one thread while others read it.
class WeakOptional {
public:
    WeakOptional() = default;
    explicit WeakOptional(NSObject* object);
    WeakOptional(const WeakOptional& other);
    WeakOptional& operator=(const WeakOptional& other);
    ~WeakOptional();
    WeakOptional& operator=(NSObject* object);

    /// The object, owned by the caller; or null.
    Ref<NSObject> strongReferenceOrNil() const;
    /// The object, kept by the innermost pool; or null.
    NSObject* retainedAndAutoreleasedOrNil() const;
    /// Takes a strong reference now and posts \p block to \p queue with it; the reference goes after the call. A dead
    /// reference posts the block too, which then gets null.
    ///
    /// \return whether the object was there
    bool async_dispatch(dispatch_queue_t queue, std::function<void(NSObject*)> block) const;

private:
    void store(WeakRef<NSObject> reference) noexcept;

    mutable std::mutex mLock;
    WeakRef<NSObject> mWeakReference;
};

}
