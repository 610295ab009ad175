#include "Platform/CoreVideo/CVPixelBufferPool.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace {

Ref<CFDictionary> attributes(int width, int height)
{
    return CFDictionary::create({ { kCVPixelBufferWidthKey, CFNumber::create(width).get() },
        { kCVPixelBufferHeightKey, CFNumber::create(height).get() },
        { kCVPixelBufferPixelFormatTypeKey, CFNumber::create(kCVPixelFormatType_32BGRA).get() } });
}

Ref<CVPixelBufferPool> pool(int width = 8, int height = 8)
{
    Ref<CVPixelBufferPool> result;
    EXPECT_EQ(CVPixelBufferPoolCreate(kCFAllocatorDefault, nullptr, attributes(width, height).get(), &result), 0);
    return result;
}

}

TEST(CVPixelBufferPool, HandsTheSameSurfacesOutAgain)
{
    const auto buffers = pool();
    std::set<IOSurfaceID> seen;
    for (int i = 0; i < 100; ++i) {
        Ref<CVPixelBuffer> buffer;
        ASSERT_EQ(CVPixelBufferPoolCreatePixelBuffer(kCFAllocatorDefault, buffers, &buffer), 0);
        seen.insert(IOSurfaceGetID(CVPixelBufferGetIOSurface(buffer)));
    }
    EXPECT_EQ(seen.size(), 1U);
    EXPECT_EQ(buffers->countInUse(), 0U);
}

TEST(CVPixelBufferPool, NeverHandsOutASurfaceThatSomebodyHolds)
{
    const auto buffers = pool();
    std::vector<Ref<CVPixelBuffer>> held;
    std::set<IOSurfaceID> seen;
    for (int i = 0; i < 20; ++i) {
        Ref<CVPixelBuffer> buffer;
        ASSERT_EQ(CVPixelBufferPoolCreatePixelBuffer(kCFAllocatorDefault, buffers, &buffer), 0);
        EXPECT_TRUE(seen.insert(IOSurfaceGetID(CVPixelBufferGetIOSurface(buffer))).second);
        held.push_back(buffer);
    }
    EXPECT_EQ(buffers->countInUse(), 20U);
}

TEST(CVPixelBufferPool, RefusesBeyondTheThreshold)
{
    const auto buffers = pool();
    const auto threshold
        = CFDictionary::create({ { kCVPixelBufferPoolAllocationThresholdKey, CFNumber::create(2).get() } });
    Ref<CVPixelBuffer> a;
    Ref<CVPixelBuffer> b;
    Ref<CVPixelBuffer> c;
    const auto create = [&](Ref<CVPixelBuffer>* result) {
        return CVPixelBufferPoolCreatePixelBufferWithAuxAttributes(kCFAllocatorDefault, buffers, threshold, result);
    };
    EXPECT_EQ(create(&a), 0);
    EXPECT_EQ(create(&b), 0);
    EXPECT_EQ(create(&c), kCVReturnWouldExceedAllocationThreshold);
    a = nullptr;
    EXPECT_EQ(create(&c), 0);
}

TEST(CVPixelBufferPool, BuffersOutliveTheirPool)
{
    Ref<CVPixelBuffer> buffer;
    {
        const auto buffers = pool();
        ASSERT_EQ(CVPixelBufferPoolCreatePixelBuffer(kCFAllocatorDefault, buffers, &buffer), 0);
    }
    static_cast<std::byte*>(CVPixelBufferGetBaseAddress(buffer))[0] = std::byte { 1 };
}

TEST(CVPixelBufferPool, MayBeSharedByThreads)
{
    const auto buffers = pool();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                Ref<CVPixelBuffer> buffer;
                ASSERT_EQ(CVPixelBufferPoolCreatePixelBuffer(kCFAllocatorDefault, buffers, &buffer), 0);
                static_cast<std::byte*>(CVPixelBufferGetBaseAddress(buffer))[0] = std::byte { 1 };
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(buffers->countInUse(), 0U);
}

TEST(CVPixelBufferPool, CreationReportsWhatIsWrong)
{
    Ref<CVPixelBufferPool> result;
    EXPECT_EQ(
        CVPixelBufferPoolCreate(kCFAllocatorDefault, nullptr, attributes(0, 5).get(), &result), kCVReturnInvalidSize);
    EXPECT_EQ(CVPixelBufferPoolCreate(kCFAllocatorDefault, nullptr, nullptr, &result), kCVReturnInvalidSize);
    const FailPoint::Scope armed("CVPixelBufferPoolCreate", -6660);
    EXPECT_EQ(CVPixelBufferPoolCreate(kCFAllocatorDefault, nullptr, attributes(5, 5).get(), &result), -6660);
    EXPECT_FALSE(result);
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferPoolCreatePixelBuffer(kCFAllocatorDefault, nullptr, &buffer), kCVReturnInvalidArgument);
}
