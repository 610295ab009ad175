#include "Platform/IOSurface/SurfaceMemory.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What is kept at most: as many pieces, as many bytes together.
constexpr std::size_t mostPieces = 4;
constexpr std::size_t mostBytes = std::size_t { 16 } << 20;

/// What nobody uses now, the oldest first. There until the process ends, as the last surface may be.
struct Shelf {
    std::mutex lock;
    std::vector<std::unique_ptr<SurfaceMemory>> pieces;
};

Shelf& shelf()
{
    static auto* const only = std::make_unique<Shelf>().release();
    return *only;
}

std::unique_ptr<SurfaceMemory> takeFromShelf(std::size_t length)
{
    auto& [lock, pieces] = shelf();
    const std::lock_guard guard(lock);
    const auto found = std::ranges::find(pieces, length, &SurfaceMemory::length);
    if (found == pieces.end())
        return nullptr;
    auto piece = std::move(*found);
    pieces.erase(found);
    return piece;
}

std::byte* mapped(int descriptor, std::size_t length)
{
    void* const address = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return address == MAP_FAILED ? nullptr : static_cast<std::byte*>(address);
}

}

std::unique_ptr<SurfaceMemory> SurfaceMemory::create(std::size_t length)
{
    if (auto kept = takeFromShelf(length)) {
        std::memset(kept->base(), 0, length);
        return kept;
    }
    const int descriptor = ::memfd_create("tovrin-surface", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (descriptor < 0)
        return nullptr;
    // Allocated now: a full memory file system must fail here and not as a fault on first touch.
    std::byte* base = nullptr;
    if (::posix_fallocate(descriptor, 0, static_cast<off_t>(length)) == 0
        && ::fcntl(descriptor, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0)
        base = mapped(descriptor, length);
    if (!base) {
        ::close(descriptor);
        return nullptr;
    }
    return std::make_unique<SurfaceMemory>(descriptor, base, length, false);
}

std::unique_ptr<SurfaceMemory> SurfaceMemory::adopt(int descriptor, std::size_t length)
{
    constexpr int sizeSeals = F_SEAL_SHRINK | F_SEAL_GROW;
    struct stat status { };
    const int seals = ::fcntl(descriptor, F_GET_SEALS);
    std::byte* base = nullptr;
    if (seals >= 0 && (seals & sizeSeals) == sizeSeals && ::fstat(descriptor, &status) == 0
        && static_cast<std::size_t>(status.st_size) >= length)
        base = mapped(descriptor, length);
    if (!base) {
        if (descriptor >= 0)
            ::close(descriptor);
        return nullptr;
    }
    return std::make_unique<SurfaceMemory>(descriptor, base, length, true);
}

void SurfaceMemory::giveBack(std::unique_ptr<SurfaceMemory> memory)
{
    if (memory->mIsShared.load(std::memory_order_relaxed) || memory->length() > mostBytes)
        return;
    std::vector<std::unique_ptr<SurfaceMemory>> ended; // outside the lock
    auto& [lock, pieces] = shelf();
    const std::lock_guard guard(lock);
    pieces.push_back(std::move(memory));
    const auto bytes = [&pieces = pieces] {
        std::size_t sum = 0;
        for (const auto& piece : pieces)
            sum += piece->length();
        return sum;
    };
    while (pieces.size() > mostPieces || bytes() > mostBytes) {
        ended.push_back(std::move(pieces.front()));
        pieces.erase(pieces.begin());
    }
}

SurfaceMemory::SurfaceMemory(int descriptor, std::byte* base, std::size_t length, bool isShared)
    : mDescriptor(descriptor)
    , mBase(base)
    , mLength(length)
    , mIsShared(isShared)
{
}

SurfaceMemory::~SurfaceMemory()
{
    ::munmap(mBase, mLength);
    ::close(mDescriptor);
}
