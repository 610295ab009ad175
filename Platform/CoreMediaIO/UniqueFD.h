#pragma once

#include <utility>

#include <unistd.h>

/// Owns one file descriptor, or none.
class UniqueFD {
public:
    UniqueFD() = default;
    explicit UniqueFD(int descriptor) noexcept
        : mDescriptor(descriptor)
    {
    }
    UniqueFD(UniqueFD&& other) noexcept
        : mDescriptor(other.leak())
    {
    }
    ~UniqueFD() { reset(); }
    UniqueFD& operator=(UniqueFD&& other) noexcept
    {
        reset(other.leak());
        return *this;
    }

    int get() const noexcept { return mDescriptor; }
    bool isValid() const noexcept { return mDescriptor >= 0; }
    explicit operator bool() const noexcept { return isValid(); }
    /// Gives the descriptor to the caller, who must close it.
    [[nodiscard]] int leak() noexcept { return std::exchange(mDescriptor, -1); }
    void reset(int descriptor = -1) noexcept
    {
        if (const int old = std::exchange(mDescriptor, descriptor); old >= 0)
            ::close(old);
    }

private:
    int mDescriptor = -1;
};
