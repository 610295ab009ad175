#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureQueues.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchFunctions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

/// The whole line of a missing dispatch object; only the line's number stays open.
std::string missingLine(const std::string& what, const std::string& function)
{
    return "REQUIRED_DISPATCH_QUEUE 0x00000000==NULL - " + what + " in AVCaptureDispatchQueue\\.cpp:[0-9]+ \\("
        + function + "\\)\n";
}

const std::string initialiser = "initWithTargetClass_queueName_waitUntilEmpty";

template <class Queue> Ref<Queue> queueNamed(CFTypeRef name, bool waits = true)
{
    auto queue = make<Queue>();
    queue->initWithTargetClass_queueName_waitUntilEmpty(Queue::targetQueueClass(), name, waits);
    return queue;
}

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

TEST(AVCaptureDispatchQueue, ClassObjectsMakeTheSameQueues)
{
    const AutoreleasePool pool;
    using Queue = AVCaptureDispatchQueue;
    auto* const type = NSClassFromString(CFSTR("AVCaptureDispatchMainQueue"));
    auto* const main = AVCaptureDispatchMainTargetQueue::classObject();
    auto* const disk = AVCaptureDiskIOTargetQueue::classObject();
    auto* const n = CFSTR("n");
    EXPECT_EQ(type->classMessage<Class()>("targetQueueClass")(), main);
    EXPECT_FALSE(type->classMessage<bool()>("defaultWaitsUntilEmpty")());
    expectQueue(type->classMessage<Queue*()>("queue")(), AVCaptureDispatchSerialTargetQueue::classObject(),
        "AVCaptureDispatchMainQueue", false);
    expectQueue(type->classMessage<Queue*(CFTypeRef)>("queueWithNameThatDoesNotWaitUntilEmpty:")(n), main, "n", false);
    auto* const waiting = type->classMessage<Queue*(CFTypeRef, bool)>("queueWithName:waitUntilEmpty:")(n, true);
    expectQueue(waiting, main, "n", true);
    // It ends here, on the main thread, and would wait for itself.
    waiting->setWaitsUntilEmptyBeforeRelease(false);
    expectQueue(type->classMessage<Queue*(CFTypeRef)>("queueWithName:")(n), main, "n", false);
    expectQueue(
        type->classMessage<Queue*(Class)>("queueWithTargetClass:")(disk), disk, "AVCaptureDispatchMainQueue", false);
    expectQueue(
        type->classMessage<Queue*(Class, CFTypeRef)>("queueWithTargetClass:queueName:")(disk, n), disk, "n", false);
    auto* const made = type->classMessage<Queue*(Class, CFTypeRef, bool)>(
        "queueWithTargetClass:queueName:waitUntilEmpty:")(disk, n, true);
    expectQueue(made, disk, "n", true);
    EXPECT_EQ(made->isa(), type);
}

TEST(AVCaptureDispatchQueue, NameThatIsNoStringGivesNoQueueAndOneLineAtTheEnd)
{
    for (CFTypeRef name :
        { static_cast<CFTypeRef>(nullptr), static_cast<CFTypeRef>(kCFNull), static_cast<CFTypeRef>(kCFBooleanTrue) }) {
        StandardErrorCapture capture;
        bool ran = false;
        {
            const auto queue = queueNamed<AVCaptureRenderingQueue>(name);
            EXPECT_EQ(queue->queue(), nullptr);
            EXPECT_EQ(queue->targetClass(), AVCaptureRenderingTargetQueue::classObject());
            EXPECT_EQ(queue->targetQueue(), AVCaptureRenderingTargetQueue::targetQueue());
            queue->sync([&] { ran = true; });
            queue->async([&] { ran = true; });
            queue->waitUntilQueueEmpty();
        }
        EXPECT_THAT(capture.text(), testing::MatchesRegex(missingLine("_queue", "dealloc")));
        EXPECT_FALSE(ran);
    }
}

TEST(AVCaptureDispatchQueue, AClassWithoutATargetIsReported)
{
    for (Class target : { static_cast<Class>(nullptr), AVCaptureDispatchQueueTestsNoTarget::classObject() }) {
        StandardErrorCapture capture;
        {
            const AutoreleasePool pool;
            auto* const queue = AVCaptureDispatchQueue::queueWithTargetClass_queueName(target, CFSTR("n"));
            EXPECT_EQ(queue->queue(), nullptr);
            EXPECT_EQ(queue->targetQueue(), nullptr);
            EXPECT_EQ(queue->targetClass(), target);
        }
        EXPECT_THAT(capture.text(),
            testing::MatchesRegex(missingLine("target_queue", initialiser) + missingLine("_queue", "dealloc")));
    }
}

TEST(AVCaptureDispatchQueue, AQueueThatCouldNotBeMadeIsReported)
{
    ASSERT_TRUE(AVCaptureRenderingTargetQueue::targetQueue());
    StandardErrorCapture capture;
    {
        const FailPoint::Scope failing("dispatch_queue_create");
        EXPECT_EQ(queueNamed<AVCaptureRenderingQueue>(CFSTR("n"))->queue(), nullptr);
    }
    EXPECT_THAT(
        capture.text(), testing::MatchesRegex(missingLine("_queue", initialiser) + missingLine("_queue", "dealloc")));
}

TEST(AVCaptureDispatchQueue, AnObjectThatWasNeverInitialisedHasNothingAndSaysSoAtItsEnd)
{
    StandardErrorCapture capture;
    {
        const auto queue = make<AVCaptureDispatchQueue>();
        EXPECT_EQ(queue->queue(), nullptr);
        EXPECT_EQ(queue->targetClass(), nullptr);
        EXPECT_EQ(queue->targetQueue(), nullptr);
        EXPECT_FALSE(queue->waitsUntilEmptyBeforeRelease());
    }
    EXPECT_THAT(capture.text(), testing::MatchesRegex(missingLine("_queue", "dealloc")));
}

TEST(AVCaptureDispatchQueue, AQueueThatEndsWellSaysNothing)
{
    StandardErrorCapture capture;
    queueNamed<AVCaptureRenderingQueue>(CFSTR("n"));
    EXPECT_EQ(capture.text(), "");
}

TEST(AVCaptureDispatchQueue, NullClosuresDoNothing)
{
    const auto queue = queueNamed<AVCaptureRenderingQueue>(CFSTR("n"));
    queue->sync(nullptr);
    queue->async(nullptr);
    queue->waitUntilQueueEmpty();
}

TEST(AVCaptureDispatchQueue, WaitingIsABarrier)
{
    const auto queue = queueNamed<AVCaptureFileReadingQueue>(CFSTR("n"));
    int ran = 0;
    for (int time = 0; time < 100; ++time)
        queue->async([&ran] { ++ran; });
    queue->waitUntilQueueEmpty();
    EXPECT_EQ(ran, 100);
    queue->async([&ran] { ++ran; });
    queue->sync([&ran] { ran *= 2; });
    EXPECT_EQ(ran, 202);
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
    auto queue = queueNamed<AVCaptureRenderingQueue>(CFSTR("n"));
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

TEST(AVCaptureDispatchQueue, ManyMayEndAtOnceEachAfterItsOwnWork)
{
    constexpr int rounds = 100;
    constexpr int posts = 5;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                int ran = 0;
                {
                    const AutoreleasePool pool;
                    auto* const queue = AVCaptureFileWritingQueue::queueWithName(CFSTR("ending"));
                    for (int post = 0; post < posts; ++post)
                        queue->async([&ran] { ++ran; });
                }
                ASSERT_EQ(ran, posts);
            }
        });
    }
}

TEST(AVCaptureDispatchQueue, EndDoesNotWaitWhenToldNotTo)
{
    std::promise<void> mayRun;
    std::promise<void> ran;
    auto queue = queueNamed<AVCaptureRenderingQueue>(CFSTR("n"));
    queue->setWaitsUntilEmptyBeforeRelease(false);
    queue->async([&, wait = std::make_shared<std::future<void>>(mayRun.get_future())] {
        wait->wait();
        ran.set_value();
    });
    queue = nullptr;
    mayRun.set_value();
    EXPECT_EQ(ran.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST(AVCaptureDispatchMainQueue, DoesNotDrainAtItsEnd)
{
    bool ran = false;
    {
        const AutoreleasePool pool;
        auto* const queue = AVCaptureDispatchMainQueue::queueWithName(CFSTR("main"));
        EXPECT_FALSE(queue->waitsUntilEmptyBeforeRelease());
        queue->async([&] { ran = true; });
    }
    // The object went on the main thread, which would have waited for itself.
    EXPECT_FALSE(ran);
    EXPECT_TRUE(DispatchMain::runUntil([&] { return ran; }, 10));
}

TEST(AVCaptureDispatchMainQueue, ReachesTheMainThreadThroughItsOwnTarget)
{
    const AutoreleasePool pool;
    const Ref queue(AVCaptureDispatchMainQueue::queueWithName(CFSTR("main")));
    std::vector<std::pair<int, bool>> calls;
    const auto note = [&](int number) {
        calls.emplace_back(number, isRunningOnQueue(AVCaptureDispatchMainTargetQueue::targetQueue()));
    };
    elsewhere([&] {
        queue->asyncIfNotOnMainThread([&] { note(1); });
        AVCaptureDispatchMainQueue_AsyncIfDispatch([&] { note(2); });
        dispatch_async(dispatch_get_main_queue(), [&] { note(3); });
    });
    ASSERT_TRUE(DispatchMain::runUntil([&] { return calls.size() == 3; }, 10));
    EXPECT_THAT(calls, testing::UnorderedElementsAre(std::pair(1, true), std::pair(2, true), std::pair(3, false)));
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
