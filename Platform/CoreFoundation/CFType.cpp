#include "Platform/CoreFoundation/CFType.h"

#include "Platform/CoreFoundation/CFString.h"

#include <cassert>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr long immortalThreshold = 1L << 61;

std::vector<Ref<CFType>>& poolStack()
{
    thread_local std::vector<Ref<CFType>> stack;
    return stack;
}

struct TypeNames {
    std::mutex lock;
    std::vector<std::string> names { "", "CFType" };
};

TypeNames& typeNames()
{
    static TypeNames* const names = std::make_unique<TypeNames>().release();
    return *names;
}

}

CFType::~CFType()
{
    if (WeakAnchor* const anchor = mWeakAnchor.load(std::memory_order_acquire))
        anchor->release();
}

void CFType::retain() noexcept
{
    mRetainCount.fetch_add(1, std::memory_order_relaxed);
}

void CFType::release() noexcept
{
    if (mRetainCount.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    if (WeakAnchor* const anchor = mWeakAnchor.load(std::memory_order_acquire))
        anchor->objectDies();
    delete this;
}

bool CFType::tryRetain() noexcept
{
    long count = mRetainCount.load(std::memory_order_relaxed);
    while (count > 0) {
        if (mRetainCount.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel, std::memory_order_relaxed))
            return true;
    }
    return false;
}

long CFType::retainCount() const noexcept
{
    return mRetainCount.load(std::memory_order_acquire);
}

void CFType::makeImmortal() noexcept
{
    if (mRetainCount.load(std::memory_order_relaxed) < immortalThreshold)
        mRetainCount.fetch_add(sImmortalCount, std::memory_order_relaxed);
}

CFTypeID CFType::typeID() const noexcept
{
    return CFTypeGetTypeID();
}

bool CFType::isEqual(CFType* other)
{
    return this == other;
}

CFHashCode CFType::hash()
{
    return std::hash<const void*>()(this);
}

std::string CFType::description()
{
    std::string name = "CFType";
    if (const auto known = CFCopyTypeIDDescription(typeID()))
        name = known->string();
    char text[32];
    std::snprintf(text, sizeof text, " %p>", static_cast<void*>(this));
    return "<" + name + text;
}

WeakAnchor* WeakAnchor::anchorOf(CFType& object)
{
    WeakAnchor* anchor = object.mWeakAnchor.load(std::memory_order_acquire);
    if (!anchor) {
        auto made = std::unique_ptr<WeakAnchor>(new WeakAnchor(object));
        if (object.mWeakAnchor.compare_exchange_strong(anchor, made.get(), std::memory_order_acq_rel))
            anchor = made.release();
    }
    anchor->retain();
    return anchor;
}

void WeakAnchor::retain() noexcept
{
    mCount.fetch_add(1, std::memory_order_relaxed);
}

void WeakAnchor::release() noexcept
{
    if (mCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

CFType* WeakAnchor::retainedObject() noexcept
{
    while (mLock.test_and_set(std::memory_order_acquire))
        std::this_thread::yield();
    CFType* const object = mObject && mObject->tryRetain() ? mObject : nullptr;
    mLock.clear(std::memory_order_release);
    return object;
}

bool WeakAnchor::isOrphan() noexcept
{
    while (mLock.test_and_set(std::memory_order_acquire))
        std::this_thread::yield();
    const bool isOrphan = !mObject;
    mLock.clear(std::memory_order_release);
    return isOrphan;
}

void WeakAnchor::objectDies() noexcept
{
    // A reader holds the lock while it looks at the count, so the memory is still there for it.
    while (mLock.test_and_set(std::memory_order_acquire))
        std::this_thread::yield();
    mObject = nullptr;
    mLock.clear(std::memory_order_release);
}

AutoreleasePool::AutoreleasePool()
    : mStart(poolStack().size())
{
}

AutoreleasePool::~AutoreleasePool()
{
    auto& stack = poolStack();
    while (stack.size() > mStart) {
        // Taken off first: the object's end may hand further objects to the pool.
        const Ref<CFType> last = std::move(stack.back());
        stack.pop_back();
    }
}

void AutoreleasePool::add(Ref<CFType> object)
{
    poolStack().push_back(std::move(object));
}

constinit CFNullStorage theCFNull;

CFTypeID CFNull::typeID() const noexcept
{
    return CFNullGetTypeID();
}

std::string CFNull::description()
{
    return "<null>";
}

CFTypeID CFRegisterType(const char* name)
{
    auto& types = typeNames();
    const std::lock_guard guard(types.lock);
    types.names.emplace_back(name);
    return types.names.size() - 1;
}

CFTypeID CFTypeIdentifier::registered()
{
    // Of several threads that ask first, one registers.
    static std::mutex lock;
    const std::lock_guard guard(lock);
    if (!mValue.load(std::memory_order_relaxed))
        mValue.store(CFRegisterType(mName), std::memory_order_relaxed);
    return mValue.load(std::memory_order_relaxed);
}

CFTypeID CFTypeGetTypeID()
{
    return 1;
}

CFTypeRef CFRetain(CFTypeRef object)
{
    object->retain();
    return object;
}

void CFRelease(CFTypeRef object)
{
    object->release();
}

CFIndex CFGetRetainCount(CFTypeRef object)
{
    return object->retainCount();
}

Ref<CFString> CFCopyTypeIDDescription(CFTypeID identifier)
{
    auto& types = typeNames();
    const std::lock_guard guard(types.lock);
    if (identifier == 0 || identifier >= types.names.size())
        return nullptr;
    return CFString::create(types.names[identifier]);
}

bool CFEqual(CFTypeRef a, CFTypeRef b)
{
    return a == b || (a && b && a->isEqual(b));
}

void CFShow(CFTypeRef object)
{
    std::string line = object ? object->description() : "(null)";
    line += '\n';
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, rest.data(), rest.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0 && errno == EAGAIN) {
            // Somebody who shares the stream has made it one that does not wait: a line is to arrive whole all the
            // same.
            pollfd ready { STDERR_FILENO, POLLOUT, 0 };
            ::poll(&ready, 1, -1);
            continue;
        }
        if (written <= 0)
            return;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}
