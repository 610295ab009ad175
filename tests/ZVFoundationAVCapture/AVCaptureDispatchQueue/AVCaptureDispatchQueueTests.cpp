#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureQueues.h"

#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <thread>

namespace {

/// Runs \p work on a thread that is not the main one and gives its result.
template <class F> auto elsewhere(F work)
{
    return std::async(std::launch::async, std::move(work)).get();
}

class AVCaptureDispatchQueueTestsNoTarget : public NSObject {
    NS_OBJECT(AVCaptureDispatchQueueTestsNoTarget)
};

NS_IMPLEMENTATION(AVCaptureDispatchQueueTestsNoTarget, NSObject) { }

void expectQueue(AVCaptureDispatchQueue* queue, Class targetClass, const char* label, bool waits)
{
    EXPECT_EQ(queue->targetClass(), targetClass);
    EXPECT_EQ(queue->targetQueue(), AVCaptureTargetQueueProtocol::targetQueueOfClass(targetClass));
    ASSERT_NE(queue->queue(), nullptr);
    EXPECT_STREQ(dispatch_queue_get_label(queue->queue()), label);
    EXPECT_EQ(queue->waitsUntilEmptyBeforeRelease(), waits);
}

}

TEST(AVCaptureTargetQueues, AreOneForEachClassAndLabelled)
{
    EXPECT_STREQ(
        dispatch_queue_get_label(AVCaptureDispatchTargetQueue::targetQueue()), "sAVCaptureDispatchTargetQueue");
    EXPECT_STREQ(dispatch_queue_get_label(AVCaptureDispatchSerialTargetQueue::targetQueue()),
        "sAVCaptureDispatchSerialTargetQueue");
    EXPECT_STREQ(
        dispatch_queue_get_label(AVCaptureDispatchMainTargetQueue::targetQueue()), "sAVCaptureDispatchMainTargetQueue");
    EXPECT_STREQ(dispatch_queue_get_label(AVCaptureDiskIOTargetQueue::targetQueue()), "sAVDiskIOTargetQueue");
    EXPECT_STREQ(
        dispatch_queue_get_label(AVCaptureRenderingTargetQueue::targetQueue()), "sAVCaptureRenderingTargetQueue");
    EXPECT_EQ(AVCaptureRenderingTargetQueue::targetQueue(), AVCaptureRenderingTargetQueue::targetQueue());
    EXPECT_EQ(AVCaptureTargetQueueProtocol::targetQueueOfClass(AVCaptureDiskIOTargetQueue::classObject()),
        AVCaptureDiskIOTargetQueue::targetQueue());
    EXPECT_EQ(AVCaptureTargetQueueProtocol::targetQueueOfClass(nullptr), nullptr);
}

TEST(AVCaptureDispatchQueue, ClassesDifferInTargetAndWaiting)
{
    const AutoreleasePool pool;
    auto* const name = CFSTR("a name");
    expectQueue(
        AVCaptureDispatchQueue::queueWithName(name), AVCaptureDispatchSerialTargetQueue::classObject(), "a name", true);
    expectQueue(AVCapturingQueue::queueWithName(name), AVCaptureDispatchTargetQueue::classObject(), "a name", true);
    expectQueue(
        AVCaptureFileReadingQueue::queueWithName(name), AVCaptureDiskIOTargetQueue::classObject(), "a name", true);
    expectQueue(
        AVCaptureFileWritingQueue::queueWithName(name), AVCaptureDiskIOTargetQueue::classObject(), "a name", true);
    expectQueue(
        AVCaptureRenderingQueue::queueWithName(name), AVCaptureRenderingTargetQueue::classObject(), "a name", true);
    expectQueue(AVCaptureDispatchMainQueue::queueWithName(name), AVCaptureDispatchMainTargetQueue::classObject(),
        "a name", false);
}

TEST(AVCaptureDispatchQueue, FactoriesChooseTargetNameAndWaiting)
{
    const AutoreleasePool pool;
    auto* const disk = AVCaptureDiskIOTargetQueue::classObject();
    auto* const rendering = AVCaptureRenderingTargetQueue::classObject();
    using Queue = AVCaptureRenderingQueue;
    expectQueue(Queue::queueWithNameThatDoesNotWaitUntilEmpty(CFSTR("n")), rendering, "n", false);
    expectQueue(Queue::queueWithName_waitUntilEmpty(CFSTR("n"), false), rendering, "n", false);
    expectQueue(Queue::queueWithTargetClass(disk), disk, "AVCaptureRenderingQueue", true);
    expectQueue(Queue::queueWithTargetClass_queueName(disk, CFSTR("n")), disk, "n", true);
    expectQueue(Queue::queueWithTargetClass_queueName_waitUntilEmpty(disk, CFSTR("n"), false), disk, "n", false);
    expectQueue(AVCaptureDispatchQueue::queueWithTargetClass(disk), disk, "AVCaptureDispatchQueue", true);
    EXPECT_EQ(Queue::queueWithName(CFSTR("n"))->isa(), Queue::classObject());
}

TEST(AVCaptureDispatchQueue, QueueOfASubclassIsOnTheSerialTarget)
{
    const AutoreleasePool pool;
    expectQueue(AVCaptureRenderingQueue::queueOfClass(), AVCaptureDispatchSerialTargetQueue::classObject(),
        "AVCaptureRenderingQueue", true);
    expectQueue(AVCaptureDispatchMainQueue::queueOfClass(), AVCaptureDispatchSerialTargetQueue::classObject(),
        "AVCaptureDispatchMainQueue", false);
}

TEST(AVCaptureDispatchQueue, NameThatIsNoStringGivesNoQueueAndOneLineAtTheEnd)
{
    for (CFTypeRef name :
        { static_cast<CFTypeRef>(nullptr), static_cast<CFTypeRef>(kCFNull), static_cast<CFTypeRef>(kCFBooleanTrue) }) {
        StandardErrorCapture capture;
        bool ran = false;
        {
            const auto queue = make<AVCaptureRenderingQueue>(AVCaptureRenderingTargetQueue::classObject(), name, true);
            EXPECT_EQ(queue->queue(), nullptr);
            queue->sync([&] { ran = true; });
            queue->async([&] { ran = true; });
            queue->waitUntilQueueEmpty();
        }
        const auto text = capture.text();
        EXPECT_FALSE(ran);
        EXPECT_TRUE(
            text.starts_with("REQUIRED_DISPATCH_QUEUE 0x00000000==NULL - _queue in AVCaptureDispatchQueue.cpp:"))
            << text;
        EXPECT_TRUE(text.ends_with(" (dealloc)\n")) << text;
        EXPECT_EQ(std::ranges::count(text, '\n'), 1) << text;
    }
}

TEST(AVCaptureDispatchQueue, ClassWithoutATargetIsReported)
{
    StandardErrorCapture capture;
    {
        const auto queue
            = make<AVCaptureDispatchQueue>(AVCaptureDispatchQueueTestsNoTarget::classObject(), CFSTR("n"), true);
        EXPECT_EQ(queue->queue(), nullptr);
        EXPECT_EQ(queue->targetQueue(), nullptr);
    }
    const auto text = capture.text();
    EXPECT_TRUE(
        text.starts_with("REQUIRED_DISPATCH_QUEUE 0x00000000==NULL - target_queue in AVCaptureDispatchQueue.cpp:"))
        << text;
    EXPECT_EQ(std::ranges::count(text, '\n'), 2) << text;
}

TEST(AVCaptureDispatchQueue, NullClosuresDoNothing)
{
    const auto queue = make<AVCaptureRenderingQueue>(AVCaptureRenderingTargetQueue::classObject(), CFSTR("n"), true);
    queue->sync(nullptr);
    queue->async(nullptr);
    queue->waitUntilQueueEmpty();
}

TEST(AVCaptureDispatchQueue, QueuesOfOneFamilyExcludeEachOther)
{
    const AutoreleasePool pool;
    const Ref reading(AVCaptureFileReadingQueue::queueWithName(CFSTR("reading")));
    const Ref writing(AVCaptureFileWritingQueue::queueWithName(CFSTR("writing")));
    int unguarded = 0;
    for (int round = 0; round < 500; ++round) {
        reading->async([&] { ++unguarded; });
        writing->async([&] { ++unguarded; });
    }
    reading->waitUntilQueueEmpty();
    writing->waitUntilQueueEmpty();
    EXPECT_EQ(unguarded, 1000);
}

TEST(AVCaptureDispatchQueue, EndWaitsForWhatWasPosted)
{
    std::promise<void> mayRun;
    std::atomic<bool> ran = false;
    auto queue = make<AVCaptureRenderingQueue>(AVCaptureRenderingTargetQueue::classObject(), CFSTR("n"), true);
    queue->async([&, wait = std::make_shared<std::future<void>>(mayRun.get_future())] {
        wait->wait();
        ran = true;
    });
    std::atomic<bool> ended = false;
    std::jthread end([&] {
        queue = nullptr;
        EXPECT_TRUE(ran);
        ended = true;
    });
    EXPECT_FALSE(ended);
    mayRun.set_value();
}

TEST(AVCaptureDispatchQueue, EndDoesNotWaitWhenToldNotTo)
{
    std::promise<void> mayRun;
    std::promise<void> ran;
    auto queue = make<AVCaptureRenderingQueue>(AVCaptureRenderingTargetQueue::classObject(), CFSTR("n"), true);
    queue->setWaitsUntilEmptyBeforeRelease(false);
    queue->async([&, wait = std::make_shared<std::future<void>>(mayRun.get_future())] {
        wait->wait();
        ran.set_value();
    });
    queue = nullptr;
    mayRun.set_value();
    EXPECT_EQ(ran.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST(AVCaptureDispatchMainQueue, RunsAtOnceOnTheMainThreadAheadOfWhatWaits)
{
    const AutoreleasePool pool;
    const Ref queue(AVCaptureDispatchMainQueue::queueWithName(CFSTR("main")));
    std::vector<int> order;
    queue->async([&] { order.push_back(2); });
    queue->asyncIfNotOnMainThread([&] { order.push_back(1); });
    EXPECT_EQ(order, (std::vector<int> { 1 }));
    ASSERT_TRUE(DispatchMain::runUntil([&] { return order.size() == 2; }, 10));
    EXPECT_EQ(order, (std::vector<int> { 1, 2 }));
    queue->asyncIfNotOnMainThread(nullptr);
}

TEST(AVCaptureDispatchMainQueue, PostsFromAnotherThreadToTheMainOne)
{
    const AutoreleasePool pool;
    const Ref queue(AVCaptureDispatchMainQueue::queueWithName(CFSTR("main")));
    const auto mainThread = std::this_thread::get_id();
    std::thread::id ranOn;
    elsewhere([&] { queue->asyncIfNotOnMainThread([&] { ranOn = std::this_thread::get_id(); }); });
    ASSERT_TRUE(DispatchMain::runUntil([&] { return ranOn != std::thread::id(); }, 10));
    EXPECT_EQ(ranOn, mainThread);
}
