#include "Platform/CoreFoundation/CFType.h"

#include "Platform/CoreFoundation/CFString.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <future>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

struct Counted : CFType {
    explicit Counted(std::atomic<int>& alive)
        : mAlive(alive)
    {
        ++mAlive;
    }
    ~Counted() override { --mAlive; }
    std::atomic<int>& mAlive;
};

}

TEST(CFType, LivesAsLongAsAReferenceDoes)
{
    std::atomic<int> alive { 0 };
    {
        const auto first = make<Counted>(alive);
        const Ref<Counted> second = first;
        EXPECT_EQ(first->retainCount(), 2);
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

TEST(CFType, AnImmortalObjectSurvivesMoreReleasesThanReferences)
{
    auto* const constant = CFSTR("immortal");
    for (int i = 0; i < 1000; ++i)
        CFRelease(constant);
    EXPECT_EQ(constant->string(), "immortal");
    EXPECT_EQ(CFSTR("immortal"), constant);
}

TEST(WeakRef, BecomesNullWithTheLastReference)
{
    std::atomic<int> alive { 0 };
    auto object = make<Counted>(alive);
    const WeakRef<Counted> weak(object);
    const auto copy = weak;
    EXPECT_EQ(weak.strongReference(), object);
    EXPECT_FALSE(weak.isNull());
    object = nullptr;
    EXPECT_TRUE(weak.isNull());
    EXPECT_FALSE(weak.strongReference());
    EXPECT_FALSE(copy.strongReference());
    EXPECT_EQ(alive, 0);
}

TEST(WeakRef, IsNullWhileItsObjectIsBeingDestroyed)
{
    struct Asks : CFType {
        ~Asks() override { *found = weak.strongReference().get() != nullptr; }
        WeakRef<Asks> weak;
        bool* found = nullptr;
    };
    bool found = true;
    {
        auto object = make<Asks>();
        object->found = &found;
        object->weak = WeakRef<Asks>(object);
    }
    EXPECT_FALSE(found);
}

TEST(WeakRef, ReadOnOneThreadWhileTheLastReferenceGoesOnAnother)
{
    std::atomic<int> alive { 0 };
    for (int round = 0; round < 2000; ++round) {
        auto object = make<Counted>(alive);
        const WeakRef<Counted> weak(object);
        std::atomic<bool> go { false };
        std::thread reader([&] {
            while (!go) { }
            for (int i = 0; i < 4; ++i) {
                if (const auto strong = weak.strongReference()) {
                    EXPECT_EQ(&strong->mAlive, &alive);
                }
            }
        });
        go = true;
        object = nullptr;
        reader.join();
        EXPECT_FALSE(weak.strongReference());
    }
    EXPECT_EQ(alive, 0);
}

TEST(AutoreleasePool, KeepsAnObjectToItsEnd)
{
    std::atomic<int> alive { 0 };
    {
        const AutoreleasePool outer;
        {
            const AutoreleasePool inner;
            const auto* const object = autorelease(make<Counted>(alive));
            EXPECT_EQ(object->retainCount(), 1);
            EXPECT_EQ(alive, 1);
        }
        EXPECT_EQ(alive, 0);
        autorelease(make<Counted>(alive));
    }
    EXPECT_EQ(alive, 0);
}

TEST(AutoreleasePool, TakesWhatADyingObjectHandsIt)
{
    struct HandsOver : CFType {
        explicit HandsOver(std::atomic<int>& count)
            : alive(count)
        {
        }
        ~HandsOver() override { autorelease(make<Counted>(alive)); }
        std::atomic<int>& alive;
    };
    std::atomic<int> alive { 0 };
    {
        const AutoreleasePool pool;
        autorelease(make<HandsOver>(alive));
    }
    EXPECT_EQ(alive, 0);
}

TEST(CFNull, IsOneObjectAndCountsAsAbsent)
{
    EXPECT_EQ(CFNull::shared(), kCFNull);
    EXPECT_EQ(CFGetTypeID(kCFNull), CFNullGetTypeID());
    EXPECT_EQ(CFCopyTypeIDDescription(CFNullGetTypeID())->string(), "CFNull");
    EXPECT_EQ(kCFNull->description(), "<null>");
    EXPECT_FALSE(isPresent(kCFNull));
    EXPECT_FALSE(isPresent(nullptr));
    EXPECT_TRUE(isPresent(CFSTR("x")));
}

TEST(CFType, KindOfAnswersOnlyForItsKind)
{
    const Ref<CFType> object = CFString::create("text");
    EXPECT_NE(kindOf<CFString>(object), nullptr);
    EXPECT_EQ(kindOf<CFNull>(object), nullptr);
    EXPECT_EQ(kindOf<CFString>(static_cast<CFType*>(nullptr)), nullptr);
}

TEST(CFType, UnknownTypeIdentifiersHaveNoDescription)
{
    EXPECT_FALSE(CFCopyTypeIDDescription(0));
    EXPECT_FALSE(CFCopyTypeIDDescription(1'000'000));
    EXPECT_EQ(CFCopyTypeIDDescription(CFTypeGetTypeID())->string(), "CFType");
}

TEST(CFShow, WritesLinesWholeToAStreamThatDoesNotWait)
{
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    const int saved = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    ::dup2(ends[1], STDERR_FILENO);
    ::close(ends[1]);
    const auto line = CFString::create(std::string(300'000, 'x'));
    auto reading = std::async(std::launch::async, [end = ends[0]] {
        std::string text;
        char piece[4096];
        for (pollfd ready { end, POLLIN, 0 }; ::poll(&ready, 1, 60'000) == 1;) {
            const auto size = ::read(end, piece, sizeof piece);
            if (size <= 0)
                break;
            text.append(piece, static_cast<std::size_t>(size));
        }
        return text;
    });
    CFShow(line);
    CFShow(nullptr);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    EXPECT_TRUE(reading.get() == line->string() + "\n(null)\n");
    ::close(ends[0]);
}

TEST(CFNull, IsThereBeforeAnythingRunsAndSurvivesReleases)
{
    static_assert(CFNull::shared() == kCFNull);
    for (int release = 0; release < 10; ++release)
        CFRelease(kCFNull);
    EXPECT_EQ(CFGetTypeID(kCFNull), CFNullGetTypeID());
    EXPECT_EQ(kCFNull->description(), "<null>");
    EXPECT_EQ(WeakRef<CFNull>(kCFNull).strongReference().get(), kCFNull);
    EXPECT_FALSE(isPresent(kCFNull));
}
