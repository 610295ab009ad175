#include "AllocationCounter.h"
#include "Figures.h"

#include "WithRequirements/Requirements.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <future>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr FigureName checkCondition { "check-condition", "ns", "requirement checks: a condition that holds" };
constexpr FigureName checkStatus { "check-status", "ns", "requirement checks: a status that is 0" };
constexpr FigureName checkValue { "check-value", "ns", "requirement checks: a value that is there" };
constexpr FigureName checkType { "check-type", "ns", "requirement checks: an object of the type" };
constexpr FigureName checkAllocations { "check-allocations", "allocations",
    "requirement checks: what those that hold took from the heap" };
constexpr FigureName checkLines { "check-lines", "lines",
    "requirement checks: of 1,000,000 that failed on 8 threads, those that arrived whole and in their thread's order" };
constexpr FigureName checkRate { "check-rate", "lines/s", "requirement checks: how fast those lines arrived" };
constexpr FigureName checkUnread { "check-unread", "ms",
    "requirement checks: longest time that a failing one held its caller while nobody read standard error" };

using Clock = std::chrono::steady_clock;

double seconds(Clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

constexpr int checksPerRound = 20'000'000;

/// Checks \p value again and again; gives how often it failed. A function of its own, so that what stands around the
/// loop does not take its registers.
template <class T, class Check> [[gnu::noinline]] int failuresOf(T value, Check check)
{
    int failures = 0;
    for (int index = 0; index < checksPerRound; ++index) {
        // The compiler is not to know the value, or it would decide the check.
        asm volatile("" : "+r"(value));
        failures += !check(value);
    }
    return failures;
}

/// The time of one check of \p value, its share of the loop included; the quickest of some rounds, since others use the
/// machine too.
template <class T, class Check> double nanosecondsOf(T value, Check check)
{
    double quickest = 1e9;
    for (int round = 0; round < 5; ++round) {
        const auto start = Clock::now();
        const int failures = failuresOf(value, check);
        quickest = std::min(quickest, seconds(Clock::now() - start) * 1e9 / checksPerRound);
        if (failures != 0)
            throw std::runtime_error("a check failed that was to hold");
    }
    return quickest;
}

void measureHolding(const BenchRequest& request)
{
    const auto string = CFString::create("a string");
    CFTypeRef const object = string;
    CFStringGetTypeID(); // a type is registered when it is first asked for
    const auto allocations = AllocationCounter::count();
    const double condition = nanosecondsOf(1, [](int number) { return CFRequiredIn("measureHolding", number > 0); });
    const double status = nanosecondsOf(
        OSStatus { 0 }, [](OSStatus zero) { return CoreMediaOSStatusRequiredIn("measureHolding", zero); });
    const double value
        = nanosecondsOf(object, [](CFTypeRef present) { return CFRequiredNotCFNullIn("measureHolding", present); });
    const double type = nanosecondsOf(
        object, [](CFTypeRef text) { return CFRequiredTypeOfIn("measureHolding", text, CFStringGetTypeID()); });
    const auto allocated = AllocationCounter::count() - allocations;
    printFigure(request, checkCondition, condition);
    printFigure(request, checkStatus, status);
    printFigure(request, checkValue, value);
    printFigure(request, checkType, type);
    printFigure(request, checkAllocations, static_cast<double>(allocated));
}

/// Standard error as a pipe for the length of a scope; ended by `end`, after which the reader finds the end of it.
class PipedStandardError {
public:
    PipedStandardError()
        : mSaved(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0))
    {
        int ends[2];
        if (mSaved < 0 || ::pipe2(ends, O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "a pipe for standard error");
        mReadingEnd = ends[0];
        ::dup2(ends[1], STDERR_FILENO);
        ::close(ends[1]);
    }
    ~PipedStandardError()
    {
        end();
        ::close(mReadingEnd);
    }
    PipedStandardError(const PipedStandardError&) = delete;
    PipedStandardError& operator=(const PipedStandardError&) = delete;

    int readingEnd() const noexcept { return mReadingEnd; }
    /// Waits for the lines that were posted and gives standard error back.
    void end()
    {
        if (mSaved < 0)
            return;
        __CFLogDrain();
        ::dup2(mSaved, STDERR_FILENO);
        ::close(mSaved);
        mSaved = -1;
    }

private:
    int mSaved;
    int mReadingEnd = -1;
};

constexpr int failingThreads = 8;
constexpr int failingChecks = 1'000'000;
constexpr int checksPerThread = failingChecks / failingThreads;

const char* const lineFormat = "REQUIREMENT - SRC>>holds in CheckFigures.cpp:%d (thread %d line %d)";

/// Fails checks that tell themselves apart by the function's name; gives the longest that one took.
Clock::duration failChecks(int thread, int count)
{
    Clock::duration longest {};
    for (int line = 0; line < count; ++line) {
        char name[48];
        std::snprintf(name, sizeof name, "thread %d line %d", thread, line);
        const auto start = Clock::now();
        CFRequiredIn(name, false, "holds");
        longest = std::max(longest, Clock::now() - start);
    }
    return longest;
}

/// Reads lines to their end and counts those that are whole and the next one of their thread.
class LineCounter {
public:
    int readToEnd(int descriptor)
    {
        std::string rest;
        char piece[65536];
        for (ssize_t size; (size = ::read(descriptor, piece, sizeof piece)) > 0;) {
            rest.append(piece, static_cast<std::size_t>(size));
            std::size_t at = 0;
            for (std::size_t end; (end = rest.find('\n', at)) != std::string::npos; at = end + 1)
                take(rest.substr(at, end - at));
            rest.erase(0, at);
        }
        return mGood;
    }

private:
    void take(const std::string& line)
    {
        int where = 0;
        int thread = -1;
        int number = -1;
        if (std::sscanf(line.c_str(), lineFormat, &where, &thread, &number) != 3 || thread < 0
            || thread >= failingThreads)
            return;
        char whole[160];
        std::snprintf(whole, sizeof whole, lineFormat, where, thread, number);
        if (line == whole && number == mNext[thread]) {
            ++mNext[thread];
            ++mGood;
        }
    }

    int mNext[failingThreads] {};
    int mGood = 0;
};

void measureFailing(const BenchRequest& request)
{
    PipedStandardError pipe;
    auto counting = std::async(std::launch::async, [end = pipe.readingEnd()] { return LineCounter().readToEnd(end); });
    const auto start = Clock::now();
    {
        std::vector<std::jthread> threads;
        threads.reserve(failingThreads);
        for (int thread = 0; thread < failingThreads; ++thread)
            threads.emplace_back([thread] { failChecks(thread, checksPerThread); });
    }
    pipe.end();
    const int lines = counting.get();
    const double duration = seconds(Clock::now() - start);
    printFigure(request, checkLines, lines);
    printFigure(request, checkRate, lines / duration);
}

void measureUnread(const BenchRequest& request)
{
    constexpr int count = 100'000; // over a hundred times what a pipe holds
    PipedStandardError pipe;
    const auto longest = failChecks(0, count);
    auto counting = std::async(std::launch::async, [end = pipe.readingEnd()] { return LineCounter().readToEnd(end); });
    pipe.end();
    if (counting.get() != count)
        throw std::runtime_error("lines of checks were lost");
    printFigure(request, checkUnread, seconds(longest) * 1e3);
}

}

const std::vector<FigureName>& checkFigures()
{
    static const std::vector<FigureName> figures { checkCondition, checkStatus, checkValue, checkType, checkAllocations,
        checkLines, checkRate, checkUnread };
    return figures;
}

void measureChecks(const BenchRequest& request)
{
    if (request.wantsAny(std::vector { checkCondition, checkStatus, checkValue, checkType, checkAllocations }))
        measureHolding(request);
    if (request.wantsAny(std::vector { checkLines, checkRate }))
        measureFailing(request);
    if (request.wants(checkUnread.name))
        measureUnread(request);
}
