#pragma once

#include "Platform/CoreMediaIO/UniqueFD.h"

#include <cstddef>
#include <span>

/// Memory that can be handed to other processes: a memfd of fixed size, mapped here for as long as this lives.
class MappedMemory {
public:
    /// Invalid where the memory cannot be had.
    MappedMemory(const char* name, std::size_t length);
    ~MappedMemory();
    MappedMemory(MappedMemory&& other) noexcept;
    MappedMemory& operator=(MappedMemory&&) = delete;

    explicit operator bool() const noexcept { return !mBytes.empty(); }
    std::span<std::byte> bytes() const noexcept { return mBytes; }
    int descriptor() const noexcept { return mDescriptor.get(); }

private:
    UniqueFD mDescriptor;
    std::span<std::byte> mBytes;
};
