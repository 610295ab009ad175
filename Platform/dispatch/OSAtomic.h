#pragma once

#include <atomic>
#include <cstdint>

/// Counting on 32-bit fields that several threads share. Each is a full barrier: nothing that stands before or after it
/// in the program moves across it. They wrap around at the ends of the range. Any thread.
///
/// \return the new value

inline std::int32_t OSAtomicIncrement32Barrier(std::atomic<std::int32_t>* value) noexcept
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value->fetch_add(1, std::memory_order_seq_cst)) + 1U);
}

inline std::int32_t OSAtomicDecrement32Barrier(std::atomic<std::int32_t>* value) noexcept
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value->fetch_sub(1, std::memory_order_seq_cst)) - 1U);
}

/// A lock in one word, 0 while it is free, for a field that must stay one. Whoever waits turns a little and then
/// sleeps, so that a long hold costs nothing. Not recursive; no destruction while it is held.
using OSSpinLock = std::int32_t;

inline void OSSpinLockLock(OSSpinLock* lock) noexcept
{
    constexpr int turns = 100;
    const std::atomic_ref word(*lock);
    for (int turn = 0; word.exchange(1, std::memory_order_acquire) != 0; ++turn)
        if (turn >= turns)
            word.wait(1, std::memory_order_relaxed);
}

inline void OSSpinLockUnlock(OSSpinLock* lock) noexcept
{
    const std::atomic_ref word(*lock);
    word.store(0, std::memory_order_release);
    word.notify_one();
}
