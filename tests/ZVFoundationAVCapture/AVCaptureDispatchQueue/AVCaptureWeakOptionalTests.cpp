#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureWeakOptional.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>

using AVCapture::WeakOptional;

TEST(AVCaptureWeakOptional, GivesTheObjectWhileItLives)
{
    WeakOptional reference;
    EXPECT_FALSE(reference.strongReferenceOrNil());
    auto object = make<NSObject>();
    reference = object.get();
    EXPECT_EQ(reference.strongReferenceOrNil(), object);
    const WeakOptional copied(reference);
    object = nullptr;
    EXPECT_FALSE(reference.strongReferenceOrNil());
    EXPECT_FALSE(copied.strongReferenceOrNil());
    EXPECT_EQ(reference.retainedAndAutoreleasedOrNil(), nullptr);
}

TEST(AVCaptureWeakOptional, OfNullGivesNull)
{
    WeakOptional reference(static_cast<NSObject*>(nullptr));
    EXPECT_FALSE(reference.strongReferenceOrNil());
    EXPECT_EQ(reference.retainedAndAutoreleasedOrNil(), nullptr);
    const auto object = make<NSObject>();
    reference = object.get();
    EXPECT_EQ(object->retainCount(), 1);
    {
        const auto strong = reference.strongReferenceOrNil();
        EXPECT_EQ(object->retainCount(), 2);
    }
    reference = static_cast<NSObject*>(nullptr);
    EXPECT_FALSE(reference.strongReferenceOrNil());
    static_assert(std::is_nothrow_destructible_v<WeakOptional>);
}

TEST(AVCaptureWeakOptional, PoolKeepsWhatWasHandedOut)
{
    auto object = make<NSObject>();
    const WeakOptional reference(object.get());
    {
        const AutoreleasePool pool;
        auto* const kept = reference.retainedAndAutoreleasedOrNil();
        object = nullptr;
        EXPECT_EQ(reference.strongReferenceOrNil().get(), kept);
    }
    EXPECT_FALSE(reference.strongReferenceOrNil());
}

TEST(AVCaptureWeakOptional, PostedClosureHoldsTheObject)
{
    const auto queue = dispatch_queue_create("queue");
    auto object = make<NSObject>();
    auto* const address = object.get();
    const WeakOptional reference(object.get());
    NSObject* got = nullptr;
    dispatch_sync(queue, [&] {
        EXPECT_TRUE(reference.async_dispatch(queue, [&](NSObject* given) { got = given; }));
        object = nullptr;
        EXPECT_TRUE(reference.strongReferenceOrNil());
    });
    dispatch_sync(queue, [] {});
    EXPECT_EQ(got, address);
    dispatch_sync(queue, [] {});
    EXPECT_FALSE(reference.strongReferenceOrNil());
}

TEST(AVCaptureWeakOptional, DeadReferenceStillRunsTheClosureWithNull)
{
    const auto queue = dispatch_queue_create("queue");
    const WeakOptional reference(make<NSObject>().get());
    std::optional<NSObject*> got;
    EXPECT_FALSE(reference.async_dispatch(queue, [&](NSObject* given) { got = given; }));
    dispatch_sync(queue, [] {});
    ASSERT_TRUE(got.has_value());
    EXPECT_EQ(*got, nullptr);
}

TEST(AVCaptureWeakOptional, MayBeAssignedWhileOthersRead)
{
    const auto first = make<NSObject>();
    const auto second = make<NSObject>();
    WeakOptional reference(first.get());
    std::jthread reader([&] {
        for (int round = 0; round < 2000; ++round) {
            const auto object = reference.strongReferenceOrNil();
            EXPECT_TRUE(object == first || object == second);
        }
    });
    for (int round = 0; round < 2000; ++round)
        reference = (round % 2 ? first : second).get();
}

TEST(AVCaptureWeakOptional, PostingMayRaceWithTheEndOfTheObject)
{
    const auto queue = dispatch_queue_create("queue");
    constexpr int rounds = 500;
    WeakOptional reference;
    int found = 0;
    int lost = 0;
    std::jthread owner([&] {
        for (int round = 0; round < rounds; ++round) {
            const auto object = make<NSObject>();
            reference = object.get();
        }
    });
    int posted = 0;
    for (int round = 0; round < rounds; ++round) {
        posted += reference.async_dispatch(queue, [&](NSObject* object) {
            if (object && !object->respondsToSelector("no such message"))
                ++found;
            else
                ++lost;
        });
    }
    owner.join();
    dispatch_sync(queue, [] {});
    EXPECT_EQ(found, posted);
    EXPECT_EQ(found + lost, rounds);
}
