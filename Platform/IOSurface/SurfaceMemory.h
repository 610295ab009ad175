#pragma once

#include <atomic>
#include <cstddef>
#include <memory>

/// The memory of a surface: a memfd whose size is sealed, mapped for as long as this lives.
///
/// The system takes several times as long to make such memory as it takes to scale a picture into it. So a little of
/// what has been in use is kept for the next surfaces of its length, but only what nobody else can have: another
/// process may look at memory whose descriptor it was given for as long as it likes.
class SurfaceMemory {
public:
    /// Memory that is all zeros. Any thread. \return null when it cannot be had
    static std::unique_ptr<SurfaceMemory> create(std::size_t length);
    /// Maps memory that another process made. \param descriptor  the memfd, taken over in every case
    /// \return null unless its size is sealed and at least \p length
    static std::unique_ptr<SurfaceMemory> adopt(int descriptor, std::size_t length);
    /// Keeps \p memory for `create`, or ends it. Any thread.
    static void giveBack(std::unique_ptr<SurfaceMemory> memory);

    SurfaceMemory(int descriptor, std::byte* base, std::size_t length, bool isShared);
    ~SurfaceMemory();
    SurfaceMemory(const SurfaceMemory&) = delete;
    SurfaceMemory& operator=(const SurfaceMemory&) = delete;

    std::byte* base() const noexcept { return mBase; }
    std::size_t length() const noexcept { return mLength; }
    /// The memfd, which stays this object's. Once it was asked for, the memory is never kept for others.
    int descriptor() const noexcept
    {
        mIsShared.store(true, std::memory_order_relaxed);
        return mDescriptor;
    }

private:
    const int mDescriptor;
    std::byte* const mBase;
    const std::size_t mLength;
    mutable std::atomic<bool> mIsShared;
};
