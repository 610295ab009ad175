// What a recording asks of the heap for its frames. A program of its own, since it has the C library's functions
// replaced.

#include "Recording.h"

#include "Platform/CoreVideo/CVPixelBufferPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

#include <dlfcn.h>

namespace {

/// As much as a quarter of the smallest plane of a 1280x720 picture.
constexpr std::size_t frameMemory = 1280 * 720 / 16;
std::atomic<std::uint64_t> frameAllocations { 0 };

void note(std::size_t size)
{
    if (size >= frameMemory)
        ++frameAllocations;
}

template <class Function> Function next(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}

// libavutil and libx264 take their memory by the first two, a surface's is mapped by the third.
extern "C" {

int posix_memalign(void** result, std::size_t alignment, std::size_t size)
{
    static const auto real = next<int (*)(void**, std::size_t, std::size_t)>("posix_memalign");
    note(size);
    return real(result, alignment, size);
}

void* memalign(std::size_t alignment, std::size_t size)
{
    static const auto real = next<void* (*)(std::size_t, std::size_t)>("memalign");
    note(size);
    return real(alignment, size);
}

void* mmap(void* address, std::size_t size, int protection, int flags, int descriptor, off_t offset)
{
    static const auto real = next<void* (*)(void*, std::size_t, int, int, int, off_t)>("mmap");
    note(size);
    return real(address, size, protection, flags, descriptor, offset);
}

} // extern "C"

namespace {

TEST(AVAssetWriterMemory, ARecordingThatRunsAllocatesNoMemoryForFrames)
{
    const TemporaryFolder folder;
    const auto properties = make<CFDictionary>();
    const auto attributes = CFDictionary::create({ { kCVPixelBufferIOSurfacePropertiesKey, properties.get() } });
    CVPixelBufferPool pool(1280, 720, kCVPixelFormatType_32BGRA, attributes.get());
    Recording recording(folder.path() + "/movie.mov", 1280, 720);
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    std::uint64_t before = 0;
    for (std::int64_t index = 0; index < 120; ++index) {
        Recording::waitUntilReady(*recording.pictureInput);
        if (index == 60)
            before = frameAllocations;
        Ref<CVPixelBuffer> picture;
        // As many as can wait, one that is encoded, and this one.
        ASSERT_EQ(pool.createPixelBuffer(10, &picture), kCVReturnSuccess);
        picture->baseAddress()[index] = std::byte { 0xFF };
        ASSERT_TRUE(recording.pictureInput->appendSampleBuffer(
            Recording::pictureSample(picture, Recording::start + index * 33'000'000).get()));
    }
    EXPECT_GT(before, 0U) << "the first frames need some, or nothing is counted";
    EXPECT_EQ(frameAllocations - before, 0U);
    EXPECT_TRUE(recording.writer->finishWriting());
}

}
