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
