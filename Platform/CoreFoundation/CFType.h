#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

using OSStatus = std::int32_t;
using OSType = std::uint32_t;
using FourCharCode = std::uint32_t;
using CFIndex = long;
using CFTypeID = unsigned long;
using CFHashCode = std::size_t;

inline constexpr OSStatus noErr = 0;

class CFString;

/// The root of every object: an intrusive, atomic reference count, a type identifier, and the hooks behind `CFEqual`,
/// `CFHash` and `%@`.
///
/// Objects are made by `make<T>` and destroyed when their last reference goes, on the thread that dropped it. All
/// operations may be called from any thread while the caller holds a reference.
class CFType {
public:
    CFType(const CFType&) = delete;
    CFType& operator=(const CFType&) = delete;

    void retain() noexcept;
    /// Drops one reference; the last one makes every weak reference null and then destroys the object.
    void release() noexcept;
    /// Takes a reference unless the last one has gone already; says whether it did.
    bool tryRetain() noexcept;
    long retainCount() const noexcept;
    /// Makes the object live until the process ends, so that releasing it once too often is harmless.
    void makeImmortal() noexcept;

    /// Identifies the kind of the object; `CFTypeGetTypeID()` for every object without a type of its own.
    virtual CFTypeID typeID() const noexcept;
    virtual bool isEqual(CFType* other);
    virtual CFHashCode hash();
    /// What `%@` prints, as UTF-8.
    virtual std::string description();

protected:
    CFType() = default;
    /// For objects that are there from the start of the program to its end.
    enum class Immortal { yes };
    constexpr explicit CFType(Immortal) noexcept
        : mRetainCount(sImmortalCount)
    {
    }
    virtual ~CFType();

private:
    friend class WeakAnchor;
    /// Above any count that references can reach, and half way to overflow: neither retains nor releases bring it to 0.
    static constexpr long sImmortalCount = 1L << 62;
    std::atomic<long> mRetainCount { 1 };
    std::atomic<class WeakAnchor*> mWeakAnchor { nullptr };
};

using CFTypeRef = CFType*;

/// An owning reference to a counted object; may be null.
template <class T> class Ref {
public:
    Ref() noexcept = default;
    Ref(std::nullptr_t) noexcept { }
    Ref(T* object) noexcept
        : mObject(object)
    {
        if (mObject)
            mObject->retain();
    }
    Ref(const Ref& other) noexcept
        : Ref(other.mObject)
    {
    }
    Ref(Ref&& other) noexcept
        : mObject(std::exchange(other.mObject, nullptr))
    {
    }
    template <class U>
    requires std::is_convertible_v<U*, T*> Ref(const Ref<U>& other)
    noexcept
        : Ref(other.get())
    {
    }
    template <class U>
    requires std::is_convertible_v<U*, T*> Ref(Ref<U>&& other)
    noexcept
        : mObject(other.leak())
    {
    }
    ~Ref()
    {
        if (mObject)
            mObject->release();
    }
    Ref& operator=(Ref other) noexcept
    {
        std::swap(mObject, other.mObject);
        return *this;
    }

    /// Takes over a reference that the caller owns.
    static Ref adopt(T* object) noexcept
    {
        Ref result;
        result.mObject = object;
        return result;
    }
    /// Gives the reference to the caller, who must release it or adopt it.
    [[nodiscard]] T* leak() noexcept { return std::exchange(mObject, nullptr); }

    T* get() const noexcept { return mObject; }
    T* operator->() const noexcept { return mObject; }
    T& operator*() const noexcept { return *mObject; }
    operator T*() const& noexcept { return mObject; }
    operator T*() const&& = delete;
    explicit operator bool() const noexcept { return mObject != nullptr; }

    friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.mObject == b.mObject; }
    // A template, so that no conversion of the reference to a pointer competes with it.
    template <class U> friend bool operator==(const Ref& a, U* b) noexcept { return a.mObject == b; }
    friend bool operator==(const Ref& a, std::nullptr_t) noexcept { return a.mObject == nullptr; }

private:
    T* mObject = nullptr;
};

template <class T> Ref(T*) -> Ref<T>;

/// Makes an object and returns the only reference to it.
template <class T, class... Arguments> Ref<T> make(Arguments&&... arguments)
{
    return Ref<T>::adopt(std::make_unique<T>(std::forward<Arguments>(arguments)...).release());
}

/// What weak references to one object share; it outlives the object as long as one of them does.
class WeakAnchor {
public:
    static WeakAnchor* anchorOf(CFType& object);
    void retain() noexcept;
    void release() noexcept;
    /// The object with one more reference, or null when its last reference has gone.
    CFType* retainedObject() noexcept;
    /// Whether the object's last reference has gone.
    bool isOrphan() noexcept;

private:
    friend class CFType;
    explicit WeakAnchor(CFType& object)
        : mObject(&object)
    {
    }
    void objectDies() noexcept;

    std::atomic<long> mCount { 1 };
    std::atomic_flag mLock = ATOMIC_FLAG_INIT;
    CFType* mObject;
};

/// A weak reference that becomes null when the last strong one goes, safe against that happening on another thread.
///
/// One `WeakRef` is not to be assigned on one thread while another reads it.
template <class T> class WeakRef {
public:
    WeakRef() noexcept = default;
    WeakRef(std::nullptr_t) noexcept { }
    WeakRef(T* object)
        : mAnchor(object ? WeakAnchor::anchorOf(*object) : nullptr)
        , mObject(object)
    {
    }
    WeakRef(const Ref<T>& object)
        : WeakRef(object.get())
    {
    }
    WeakRef(const WeakRef& other) noexcept
        : mAnchor(other.mAnchor)
        , mObject(other.mObject)
    {
        if (mAnchor)
            mAnchor->retain();
    }
    WeakRef(WeakRef&& other) noexcept
        : mAnchor(std::exchange(other.mAnchor, nullptr))
        , mObject(std::exchange(other.mObject, nullptr))
    {
    }
    ~WeakRef()
    {
        if (mAnchor)
            mAnchor->release();
    }
    WeakRef& operator=(WeakRef other) noexcept
    {
        std::swap(mAnchor, other.mAnchor);
        std::swap(mObject, other.mObject);
        return *this;
    }

    Ref<T> strongReference() const noexcept
    {
        if (!mAnchor || !mAnchor->retainedObject())
            return nullptr;
        return Ref<T>::adopt(mObject);
    }

    /// Whether it is null by now. Takes no reference, so that nothing can end here, as it could while a lock is held.
    bool isNull() const noexcept { return !mAnchor || mAnchor->isOrphan(); }

private:
    WeakAnchor* mAnchor = nullptr;
    T* mObject = nullptr;
};

template <class T> WeakRef(T*) -> WeakRef<T>;
template <class T> WeakRef(const Ref<T>&) -> WeakRef<T>;

/// Keeps what `autorelease` was given on this thread until the pool ends. Pools nest; each belongs to one scope of one
/// thread. A thread outside any pool has a last one that ends with the thread.
class AutoreleasePool {
public:
    AutoreleasePool();
    ~AutoreleasePool();
    AutoreleasePool(const AutoreleasePool&) = delete;
    AutoreleasePool& operator=(const AutoreleasePool&) = delete;

    /// Hands a reference to the innermost pool of this thread.
    static void add(Ref<CFType> object);

private:
    std::size_t mStart;
};

/// Gives the reference to the innermost pool and returns the object, which lives at least as long as the pool.
template <class T> T* autorelease(Ref<T> object)
{
    T* const result = object.get();
    if (result)
        AutoreleasePool::add(std::move(object));
    return result;
}

/// The one object that stands for "no object" in collections; also the null object of the object classes.
///
/// Its address is fixed when the program is linked, so that a test against it is one comparison.
class CFNull final : public CFType {
public:
    static constexpr CFNull* shared() noexcept;
    CFTypeID typeID() const noexcept override;
    std::string description() override;

private:
    friend union CFNullStorage;
    constexpr CFNull() noexcept
        : CFType(Immortal::yes)
    {
    }
};

/// Where the null object lies; never destroyed.
union CFNullStorage {
    constexpr CFNullStorage() noexcept
        : null()
    {
    }
    ~CFNullStorage() { }
    CFNull null;
};
extern CFNullStorage theCFNull;

constexpr CFNull* CFNull::shared() noexcept
{
    return &theCFNull.null;
}

using NSNull = CFNull;
inline constexpr CFNull* kCFNull = CFNull::shared();

/// Registers a kind of object under the name that `CFCopyTypeIDDescription` gives and returns its new identifier.
CFTypeID CFRegisterType(const char* name);

/// The identifier of one kind of object: a constant that registers the kind when it is first asked for. From then on
/// asking costs a comparison, since every check of an object's type asks. From any thread.
class CFTypeIdentifier {
public:
    constexpr explicit CFTypeIdentifier(const char* name) noexcept
        : mName(name)
    {
    }
    CFTypeID value() noexcept
    {
        const auto known = mValue.load(std::memory_order_relaxed);
        return known ? known : registered();
    }

private:
    CFTypeID registered();
    const char* const mName;
    std::atomic<CFTypeID> mValue { 0 };
};

/// The identifier of objects that have no kind of their own, 1.
CFTypeID CFTypeGetTypeID();
inline CFTypeID CFNullGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CFNull" };
    return identifier.value();
}

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFIndex CFGetRetainCount(CFTypeRef object);
/// \param object  not null
inline CFTypeID CFGetTypeID(CFTypeRef object)
{
    return object->typeID();
}
/// The registered name, or null for an identifier that nobody registered.
Ref<CFString> CFCopyTypeIDDescription(CFTypeID identifier);
bool CFEqual(CFTypeRef a, CFTypeRef b);
/// Writes the object's description and a line end to standard error, whole, however slowly that is read.
void CFShow(CFTypeRef object);

/// Whether \p object is there: neither null nor the null object.
inline bool isPresent(const CFType* object) noexcept
{
    return object && object != CFNull::shared();
}

/// The object as a \p T if it is there and is one (a class or a protocol), else null.
template <class T, class U> T* kindOf(U* object) noexcept
{
    return dynamic_cast<T*>(object);
}
template <class T, class U> T* kindOf(const Ref<U>& object) noexcept
{
    return dynamic_cast<T*>(object.get());
}

/// Memory always comes from the host; the argument stands where the frameworks have it.
using CFAllocatorRef = const void*;
inline constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;
