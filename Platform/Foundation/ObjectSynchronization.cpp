#include "Platform/Foundation/ObjectSynchronization.h"

#include <unordered_map>

namespace {

struct Locks {
    std::mutex lock;
    std::unordered_map<CFTypeRef, std::recursive_mutex> byObject;
};

Locks& allLocks()
{
    // Never destroyed: threads may still use a lock while the process ends.
    static Locks* const locks = std::make_unique<Locks>().release();
    return *locks;
}

}

std::recursive_mutex& objc_sync_lock(CFTypeRef object)
{
    auto& locks = allLocks();
    const std::lock_guard guard(locks.lock);
    return locks.byObject[object];
}

void objc_sync_enter(CFTypeRef object)
{
    if (object)
        objc_sync_lock(object).lock();
}

void objc_sync_exit(CFTypeRef object)
{
    if (object)
        objc_sync_lock(object).unlock();
}
