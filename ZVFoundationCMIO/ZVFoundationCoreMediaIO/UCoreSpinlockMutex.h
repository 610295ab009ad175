#pragma once

#include "Platform/dispatch/OSAtomic.h"

namespace ZVCMIO {

/// A spin lock of one word, 0 while it is free. At its end it waits for whoever holds it.
class UCoreSpinlockMutex {
public:
    UCoreSpinlockMutex() = default;
    ~UCoreSpinlockMutex()
    {
        lock();
        unlock();
        mSpinLock = 0;
    }
    UCoreSpinlockMutex(const UCoreSpinlockMutex&) = delete;
    UCoreSpinlockMutex& operator=(const UCoreSpinlockMutex&) = delete;

    void lock() noexcept { OSSpinLockLock(&mSpinLock); }
    void unlock() noexcept { OSSpinLockUnlock(&mSpinLock); }

private:
    alignas(std::atomic_ref<OSSpinLock>::required_alignment) OSSpinLock mSpinLock = 0;
};

}
