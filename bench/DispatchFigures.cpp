// A million posts from eight threads to sixteen serial queues that share four targets: the queues of the program, and
// beside them plain queues that do the same work.

#include "Figures.h"

#include "Platform/dispatch/dispatch.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <latch>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

constexpr FigureName dispatchRate { "dispatch-rate", "M/s", "queues: posts from 8 threads to 16 queues on 4 targets" };
constexpr FigureName dispatchPlainRate { "dispatch-plain-rate", "M/s",
    "the same posts to plain queues of a mutex and a condition variable" };
constexpr FigureName dispatchRatio { "dispatch-ratio", "times", "queues: their rate against the plain ones'" };

constexpr std::size_t posterCount = 8;
constexpr std::size_t queueCount = 16;
constexpr std::size_t targetCount = 4;
constexpr std::uint32_t postsOfEach = 125'000;
/// Rounds of each kind, in turn, so that a disturbance meets both.
constexpr int fewestRounds = 5;

/// What is compared: closures run one at a time, in the order of their posts, on a thread of the queue's own.
class PlainQueue {
public:
    PlainQueue() = default;
    ~PlainQueue()
    {
        post(nullptr);
        mThread.join();
    }
    void post(std::function<void()> work)
    {
        {
            const std::lock_guard guard(mLock);
            mWork.push_back(std::move(work));
        }
        mCame.notify_one();
    }

private:
    void run()
    {
        for (;;) {
            std::unique_lock lock(mLock);
            mCame.wait(lock, [this] { return !mWork.empty(); });
            const auto work = std::move(mWork.front());
            mWork.pop_front();
            lock.unlock();
            if (!work)
                return;
            work();
        }
    }

    std::mutex mLock;
    std::condition_variable mCame;
    std::deque<std::function<void()>> mWork;
    std::thread mThread { [this] { run(); } };
};

/// What the closures of one queue find: the last number of each poster, and how many ran. Not locked, since the queue
/// is serial.
struct alignas(64) Lane {
    std::array<std::uint32_t, posterCount> last {};
    std::uint32_t ran = 0;
    bool isInOrder = true;

    void arrive(std::uint32_t poster, std::uint32_t number)
    {
        isInOrder = isInOrder && last[poster] < number;
        last[poster] = number;
        ++ran;
    }
};

using Post = std::function<void(std::size_t queue, std::function<void()> work)>;

/// One round; gives millions of posts that ran in a second.
double rateOf(const Post& post)
{
    std::array<Lane, queueCount> lanes;
    std::latch start(posterCount + 1);
    std::array<std::thread, posterCount> posters;
    for (std::uint32_t poster = 0; poster < posterCount; ++poster) {
        posters[poster] = std::thread([&lanes, &start, &post, poster] {
            start.arrive_and_wait();
            for (std::uint32_t number = 1; number <= postsOfEach; ++number) {
                const std::size_t queue = number % queueCount;
                post(queue, [lane = &lanes[queue], poster, number] { lane->arrive(poster, number); });
            }
        });
    }
    start.arrive_and_wait();
    const auto begin = std::chrono::steady_clock::now();
    for (auto& poster : posters)
        poster.join();
    std::latch drained(queueCount);
    for (std::size_t queue = 0; queue < queueCount; ++queue)
        post(queue, [&drained] { drained.count_down(); });
    drained.wait();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::uint32_t ran = 0;
    for (const auto& lane : lanes) {
        if (!lane.isInOrder)
            throw std::runtime_error("a queue ran its work out of order");
        ran += lane.ran;
    }
    if (ran != posterCount * postsOfEach)
        throw std::runtime_error("a queue lost work");
    return ran / seconds.count() / 1e6;
}

double rateOfQueues()
{
    std::array<Ref<dispatch_queue>, targetCount> targets;
    for (auto& target : targets)
        target = dispatch_queue_create("target");
    std::array<Ref<dispatch_queue>, queueCount> queues;
    for (std::size_t index = 0; index < queueCount; ++index) {
        queues[index] = dispatch_queue_create("queue");
        dispatch_set_target_queue(queues[index], targets[index % targetCount]);
    }
    return rateOf(
        [&](std::size_t queue, std::function<void()> work) { dispatch_async(queues[queue], std::move(work)); });
}

/// One plain queue for each target is all that the same order and exclusion take.
double rateOfPlainQueues()
{
    std::array<PlainQueue, targetCount> queues;
    return rateOf(
        [&](std::size_t queue, std::function<void()> work) { queues[queue % targetCount].post(std::move(work)); });
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}

const std::vector<FigureName>& dispatchFigures()
{
    static const std::vector<FigureName> figures { dispatchRate, dispatchPlainRate, dispatchRatio };
    return figures;
}

void measureDispatch(const BenchRequest& request)
{
    std::vector<double> ours;
    std::vector<double> plain;
    std::vector<double> ratios;
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(request.seconds);
    while (static_cast<int>(ours.size()) < fewestRounds || std::chrono::steady_clock::now() < end) {
        ours.push_back(rateOfQueues());
        plain.push_back(rateOfPlainQueues());
        ratios.push_back(ours.back() / plain.back());
    }
    printFigure(request, dispatchRate, median(ours));
    printFigure(request, dispatchPlainRate, median(plain));
    printFigure(request, dispatchRatio, median(ratios));
}
