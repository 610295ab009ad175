#include "Platform/IOSurface/IOSurface.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr OSType bgra = 0x42475241;

bool isAllZeros(const IOSurface& surface)
{
    return std::all_of(surface.baseAddress(), surface.baseAddress() + surface.length(),
        [](std::byte byte) { return byte == std::byte { 0 }; });
}

/// How many pieces of memory this process has open for surfaces, used or not.
long openPieces()
{
    namespace fs = std::filesystem;
    return std::ranges::count_if(fs::directory_iterator("/proc/self/fd"), [](const fs::directory_entry& entry) {
        std::error_code ignored;
        return fs::read_symlink(entry, ignored).string().starts_with("/memfd:tovrin-surface");
    });
}

}

TEST(IOSurface, HasSealedMemoryWithRowsOfSixtyFourBytes)
{
    const auto surface = IOSurface::create(33, 5, bgra, 4, nullptr);
    ASSERT_TRUE(surface);
    EXPECT_EQ(surface->bytesPerRow(), 192U);
    EXPECT_EQ(surface->length(), 960U);
    EXPECT_NE(::ftruncate(surface->descriptor(), 10), 0) << "the size of a surface could be changed";
    EXPECT_NE(::ftruncate(surface->descriptor(), 10000), 0);
    EXPECT_NE(IOSurfaceGetID(surface), 0U);
    EXPECT_EQ(IOSurfaceGetID(nullptr), 0U);
    EXPECT_NE(IOSurfaceGetID(surface), IOSurfaceGetID(IOSurface::create(1, 1, bgra, 4, nullptr).get()));
}

TEST(IOSurface, NumbersAreEachOfOneLivingSurface)
{
    std::mutex lock;
    std::vector<Ref<IOSurface>> surfaces;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                auto surface = IOSurface::create(1, 1, bgra, 4, nullptr);
                const std::lock_guard guard(lock);
                surfaces.push_back(std::move(surface));
            }
        });
    for (auto& thread : threads)
        thread.join();
    std::set<IOSurfaceID> numbers;
    for (const auto& surface : surfaces)
        numbers.insert(IOSurfaceGetID(surface));
    EXPECT_EQ(numbers.size(), 200U);
    EXPECT_FALSE(numbers.contains(0));
}

TEST(IOSurface, ANumberIsNotGivenAgainWhileItsSurfaceLives)
{
    const auto numberAfter = [](IOSurfaceID last, Ref<IOSurface>& surface) {
        const FailPoint::Scope next("IOSurface.identifier", static_cast<std::int32_t>(last), 0, 1);
        surface = IOSurface::create(1, 1, bgra, 4, nullptr);
        return IOSurfaceGetID(surface);
    };
    Ref<IOSurface> first;
    Ref<IOSurface> second;
    Ref<IOSurface> last;
    Ref<IOSurface> other;
    const IOSurfaceID number = numberAfter(0x70000000, first);
    EXPECT_EQ(number, 0x70000001U);
    EXPECT_EQ(numberAfter(0x70000000, second), 0x70000002U);
    EXPECT_EQ(numberAfter(0xFFFFFFFE, last), 0xFFFFFFFFU);
    // 0 is none, and what lives keeps its own however often the numbers have gone round.
    const IOSurfaceID round = numberAfter(0xFFFFFFFF, other);
    EXPECT_NE(round, 0U);
    EXPECT_EQ(numberAfter(0x70000000, other), 0x70000003U);
    first = nullptr;
    EXPECT_EQ(numberAfter(0x70000000, other), number);
    // One that came from elsewhere has its number too.
    const auto adopted = IOSurface::adopt(::dup(second->descriptor()), 0x70000010, 1, 1, bgra, 64);
    EXPECT_EQ(numberAfter(0x7000000F, other), 0x70000011U);
}

TEST(IOSurface, AnotherMappingShowsTheSamePixels)
{
    const auto surface = IOSurface::create(16, 2, bgra, 4, nullptr);
    std::memset(surface->baseAddress(), 0x5A, surface->length());
    const auto other = IOSurface::adopt(::dup(surface->descriptor()), 77, 16, 2, bgra, surface->bytesPerRow());
    ASSERT_TRUE(other);
    EXPECT_EQ(IOSurfaceGetID(other), 77U);
    EXPECT_EQ(other->baseAddress()[100], std::byte { 0x5A });
}

TEST(IOSurface, RefusesMemoryThatCouldShrinkOrIsTooSmall)
{
    const int loose = ::memfd_create("loose", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    ASSERT_EQ(::ftruncate(loose, 4096), 0);
    EXPECT_FALSE(IOSurface::adopt(loose, 1, 16, 2, bgra, 64));
    EXPECT_LT(::fcntl(loose, F_GETFD), 0) << "a refused descriptor was not closed";
    const auto surface = IOSurface::create(16, 2, bgra, 4, nullptr);
    EXPECT_FALSE(IOSurface::adopt(::dup(surface->descriptor()), 1, 16, 3, bgra, 64));
    EXPECT_FALSE(IOSurface::adopt(::dup(surface->descriptor()), 1, 17, 1, bgra, 64));
    EXPECT_FALSE(IOSurface::adopt(::open("/dev/null", O_RDWR | O_CLOEXEC), 1, 16, 2, bgra, 64));
    EXPECT_FALSE(IOSurface::adopt(-1, 1, 16, 2, bgra, 64));
}

TEST(IOSurface, HasMemoryOfZerosThatASurfaceBeforeItHad)
{
    auto surface = IOSurface::create(96, 50, bgra, 4, CFDictionary::create({ { CFSTR("a"), CFSTR("1") } }).get());
    EXPECT_TRUE(isAllZeros(*surface));
    auto* const base = surface->baseAddress();
    const auto number = IOSurfaceGetID(surface);
    std::memset(base, 0x5A, surface->length());
    surface = nullptr;
    const auto other = IOSurface::create(112, 50, bgra, 4, nullptr);
    EXPECT_NE(other->baseAddress(), base) << "its memory has another length";
    surface = IOSurface::create(48, 100, bgra, 4, nullptr);
    ASSERT_EQ(surface->baseAddress(), base);
    EXPECT_TRUE(isAllZeros(*surface));
    EXPECT_NE(IOSurfaceGetID(surface), number);
    EXPECT_EQ(IOSurfaceCopyAllValues(surface)->count(), 0U);
    const auto third = IOSurface::create(96, 50, bgra, 4, nullptr);
    EXPECT_NE(third->baseAddress(), base) << "two surfaces have the same memory";
}

TEST(IOSurface, NeverHasMemoryThatSomebodyElseMayHave)
{
    auto surface = IOSurface::create(200, 50, bgra, 4, nullptr);
    const auto bytesPerRow = surface->bytesPerRow();
    auto others = IOSurface::adopt(::dup(surface->descriptor()), 7, 200, 50, bgra, bytesPerRow);
    surface = nullptr;
    for (int round = 0; round < 2; ++round) {
        surface = IOSurface::create(200, 50, bgra, 4, nullptr);
        std::memset(surface->baseAddress(), 0x5A, surface->length());
        EXPECT_TRUE(!others || isAllZeros(*others));
        // What came from elsewhere goes when it is let go of.
        const auto before = openPieces();
        others = nullptr;
        EXPECT_EQ(openPieces(), round == 0 ? before - 1 : before);
    }
}

TEST(IOSurface, LeavesLittleMemoryBehind)
{
    const auto before = openPieces();
    std::vector<Ref<IOSurface>> surfaces;
    for (std::size_t row = 0; row < 40; ++row)
        surfaces.push_back(IOSurface::create(300 + 16 * row, 40, bgra, 4, nullptr));
    EXPECT_GE(openPieces(), before + 36);
    surfaces.clear();
    EXPECT_EQ(openPieces(), 4);
    for (int count = 0; count < 3; ++count)
        surfaces.push_back(IOSurface::create(1920, 1080, bgra, 4, nullptr));
    surfaces.clear();
    EXPECT_EQ(openPieces(), 2) << "two of eight megabytes are all";
    surfaces.push_back(IOSurface::create(3840, 2160, bgra, 4, nullptr));
    surfaces.clear();
    EXPECT_EQ(openPieces(), 2) << "a very large one does not take the place of what fits";
}

TEST(IOSurface, KeepsValuesByKey)
{
    const AutoreleasePool pool;
    const auto surface = IOSurface::create(1, 1, bgra, 4, CFDictionary::create({ { CFSTR("a"), CFSTR("1") } }).get());
    IOSurfaceSetValues(surface, CFDictionary::create({ { CFSTR("b"), CFSTR("2") } }).get());
    const auto values = IOSurfaceCopyAllValues(surface);
    EXPECT_EQ(values->objectForKey("a"), CFSTR("1"));
    EXPECT_EQ(values->objectForKey("b"), CFSTR("2"));
    const FailPoint::Scope armed("IOSurfaceCopyAllValues");
    EXPECT_FALSE(IOSurfaceCopyAllValues(surface));
}

TEST(IOSurface, CreationFailsForImpossibleSizesAndWithoutMemory)
{
    EXPECT_FALSE(IOSurface::create(0, 1, bgra, 4, nullptr));
    EXPECT_FALSE(IOSurface::create(1, 16385, bgra, 4, nullptr));
    const FailPoint::Scope armed("IOSurfaceCreate");
    EXPECT_FALSE(IOSurface::create(1, 1, bgra, 4, nullptr));
}
