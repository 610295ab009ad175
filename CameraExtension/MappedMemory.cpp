#include "CameraExtension/MappedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>

MappedMemory::MappedMemory(const char* name, std::size_t length)
    : mDescriptor(::memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING))
{
    // Allocated before it is mapped: a full memory file system is an error here and not a fault on first touch.
    if (!mDescriptor || ::posix_fallocate(mDescriptor.get(), 0, static_cast<off_t>(length)) != 0)
        return;
    ::fcntl(mDescriptor.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL);
    void* const address = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, mDescriptor.get(), 0);
    if (address != MAP_FAILED)
        mBytes = { static_cast<std::byte*>(address), length };
}

MappedMemory::MappedMemory(MappedMemory&& other) noexcept
    : mDescriptor(std::move(other.mDescriptor))
    , mBytes(std::exchange(other.mBytes, {}))
{
}

MappedMemory::~MappedMemory()
{
    if (!mBytes.empty())
        ::munmap(mBytes.data(), mBytes.size());
}
