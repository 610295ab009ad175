#include "Platform/CoreMedia/CMQueues.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

namespace {

Ref<CMSampleBuffer> sample()
{
    return make<CMSampleBuffer>(std::vector<std::byte>(4), nullptr, CMSampleTimingInfo {});
}

Ref<CMBufferQueue> bufferQueue(CFIndex capacity)
{
    Ref<CMBufferQueue> queue;
    EXPECT_EQ(
        CMBufferQueueCreate(kCFAllocatorDefault, capacity, CMBufferQueueGetCallbacksForUnsortedSampleBuffers(), &queue),
        0);
    return queue;
}

}

TEST(CMBufferQueue, AFullQueueRefusesAndHoldsNothing)
{
    const auto queue = bufferQueue(1);
    const auto first = sample();
    const auto second = sample();
    EXPECT_EQ(CMBufferQueueEnqueue(queue, first), 0);
    EXPECT_EQ(CMBufferQueueEnqueue(queue, second), kCMBufferQueueError_QueueIsFull);
    EXPECT_EQ(second->retainCount(), 1);
    EXPECT_EQ(CMBufferQueueDequeueAndRetain(queue), first);
    EXPECT_FALSE(CMBufferQueueDequeueAndRetain(queue));
    EXPECT_EQ(CMBufferQueueEnqueue(queue, second), 0);
}

TEST(CMBufferQueue, ANullQueueFailsAndIsEmpty)
{
    EXPECT_EQ(CMBufferQueueEnqueue(nullptr, sample().get()), kCMBufferQueueError_RequiredParameterMissing);
    EXPECT_FALSE(CMBufferQueueDequeueAndRetain(nullptr));
    const FailPoint::Scope armed("CMBufferQueueCreate", -12760);
    Ref<CMBufferQueue> queue;
    EXPECT_EQ(CMBufferQueueCreate(kCFAllocatorDefault, 1, CMBufferQueueGetCallbacksForUnsortedSampleBuffers(), &queue),
        -12760);
    EXPECT_FALSE(queue);
}

TEST(CMSimpleQueue, HandsPointersThroughWithTheirReferences)
{
    Ref<CMSimpleQueue> queue;
    ASSERT_EQ(CMSimpleQueueCreate(kCFAllocatorDefault, 2, &queue), 0);
    auto element = sample();
    auto* const pointer = element.get();
    EXPECT_EQ(CMSimpleQueueEnqueue(queue, element.leak()), 0);
    EXPECT_EQ(CMSimpleQueueGetCount(queue), 1);
    EXPECT_EQ(pointer->retainCount(), 1);
    const auto back = Ref<CFType>::adopt(CMSimpleQueueDequeue(queue));
    EXPECT_EQ(back.get(), pointer);
    EXPECT_EQ(CMSimpleQueueDequeue(queue), nullptr);
}

TEST(CMSimpleQueue, RefusesBeyondItsCapacity)
{
    Ref<CMSimpleQueue> queue;
    EXPECT_EQ(CMSimpleQueueCreate(kCFAllocatorDefault, 0, &queue), kCMSimpleQueueError_ParameterOutOfRange);
    ASSERT_EQ(CMSimpleQueueCreate(kCFAllocatorDefault, 1, &queue), 0);
    EXPECT_EQ(CMSimpleQueueEnqueue(queue, kCFNull), 0);
    EXPECT_EQ(CMSimpleQueueEnqueue(queue, kCFNull), kCMSimpleQueueError_QueueIsFull);
    EXPECT_EQ(CMSimpleQueueEnqueue(nullptr, kCFNull), kCMSimpleQueueError_RequiredParameterMissing);
    EXPECT_EQ(CMSimpleQueueGetCapacity(queue), 1);
}
