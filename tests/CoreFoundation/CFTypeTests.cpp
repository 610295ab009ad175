#include "Platform/CoreFoundation/CFType.h"

#include "Platform/CoreFoundation/CFString.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
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
