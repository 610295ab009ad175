#pragma once

#include "Platform/CoreFoundation/CFString.h"
#include "Platform/Foundation/ObjectSynchronization.h"
#include "WithRequirements/CFTypeRefProperty.h"

/// A platform reference (a pixel buffer, an image, a format description) that several threads read and replace.
///
/// The lock belongs to the name of the property and not to the object: all properties of one key, of all instances of
/// all classes, share it. It is held for one read or swap. A class with a property `outputImage` embeds one of these
/// and writes its operations over it:
///
///     CFString* outputImageSync() const { return _outputImage.sync(); }
///     CIImage* outputImage() const { return _outputImage.get(); }
///     CIImage* outputImageAutoreleasedCopy() const { return _outputImage.autoreleasedCopy(); }
///     Ref<CIImage> outputImageRetainedCopy() const { return _outputImage.retainedCopy(); }
///     Ref<CIImage> outputImageCopy() const { return _outputImage.copy(); }
///     void setOutputImage(CIImage* value) { _outputImage.set(value); }
///
///     ReferenceProperty<CIImage> _outputImage { "outputImage" };
///
/// Setting posts no change notification. All operations may be called from any thread.
template <class T> class ReferenceProperty {
public:
    /// \param key  the property's own key, or the text of another lock object where a class has one
    explicit ReferenceProperty(std::string_view key)
        : mSync(CFSTR(key))
        , mLock(objc_sync_lock(mSync))
    {
    }
    ReferenceProperty(const ReferenceProperty&) = delete;
    ReferenceProperty& operator=(const ReferenceProperty&) = delete;

    /// The lock object: a constant string.
    CFString* sync() const noexcept { return mSync; }

    /// The raw reference. The caller does not own it, and it can die on another thread as soon as this has returned:
    /// for tests against null and for comparisons. Take one of the copies to use it.
    T* get() const
    {
        const std::lock_guard guard(mLock);
        return mValue.get();
    }

    /// The reference, kept alive by the innermost pool of the calling thread.
    T* autoreleasedCopy() const
    {
        const std::lock_guard guard(mLock);
        __CFTypeRefPropertySafeRetainAndAutorelease(mValue.get());
        return mValue.get();
    }

    /// The reference, owned by the caller.
    Ref<T> retainedCopy() const
    {
        const std::lock_guard guard(mLock);
        return mValue;
    }
    /// The same under its other name.
    Ref<T> copy() const { return retainedCopy(); }

    /// Releases the old value and then stores the new one, both under the lock. The new value is held from before the
    /// release, so that setting the present value anew is safe when the property holds its last reference.
    void set(T* value)
    {
        Ref<T> replacement(value);
        const std::lock_guard guard(mLock);
        mValue = nullptr;
        mValue = std::move(replacement);
    }

private:
    CFString* const mSync;
    std::recursive_mutex& mLock;
    Ref<T> mValue;
};
