#include "WithRequirements/ReferenceProperty.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

namespace {

class Value final : public CFType { };

/// Says, when it dies, whether the lock of \p key was held by its thread: another thread cannot enter then.
class LockWitness final : public CFType {
public:
    LockWitness(CFString* key, bool& lockedAtDeath)
        : mKey(key)
        , mLockedAtDeath(lockedAtDeath)
    {
    }
    ~LockWitness() override
    {
        mLockedAtDeath = std::async(std::launch::async, [this] {
            auto& lock = objc_sync_lock(mKey);
            if (!lock.try_lock())
                return true;
            lock.unlock();
            return false;
        }).get();
    }

private:
    CFString* mKey;
    bool& mLockedAtDeath;
};

}

TEST(ReferenceProperty, LockIsTheConstantStringOfTheKeyAndSharedByItsName)
{
    const ReferenceProperty<Value> first("outputImage");
    const ReferenceProperty<Value> second("outputImage");
    const ReferenceProperty<Value> other("inputImage");
    EXPECT_EQ(first.sync(), CFSTR("outputImage"));
    EXPECT_EQ(&objc_sync_lock(first.sync()), &objc_sync_lock(second.sync()));
    EXPECT_NE(&objc_sync_lock(first.sync()), &objc_sync_lock(other.sync()));
}

TEST(ReferenceProperty, OperationsDifferInWhoOwnsTheResult)
{
    ReferenceProperty<Value> property("value");
    EXPECT_EQ(property.get(), nullptr);
    EXPECT_EQ(property.autoreleasedCopy(), nullptr);
    EXPECT_EQ(property.retainedCopy(), nullptr);
    const auto value = make<Value>();
    property.set(value);
    EXPECT_EQ(value->retainCount(), 2);
    EXPECT_EQ(property.get(), value.get());
    EXPECT_EQ(value->retainCount(), 2);
    {
        const AutoreleasePool pool;
        EXPECT_EQ(property.autoreleasedCopy(), value.get());
        EXPECT_EQ(value->retainCount(), 3);
    }
    EXPECT_EQ(value->retainCount(), 2);
    {
        const auto retained = property.retainedCopy();
        const auto copied = property.copy();
        EXPECT_EQ(value->retainCount(), 4);
    }
    property.set(nullptr);
    EXPECT_EQ(property.get(), nullptr);
    EXPECT_EQ(value->retainCount(), 1);
}

TEST(ReferenceProperty, OldValueIsReleasedUnderTheLock)
{
    bool lockedAtDeath = false;
    ReferenceProperty<CFType> property("ReferencePropertyTests.value");
    property.set(make<LockWitness>(property.sync(), lockedAtDeath).get());
    property.set(make<Value>().get());
    EXPECT_TRUE(lockedAtDeath);
}

TEST(ReferenceProperty, PresentValueMayBeSetAnew)
{
    ReferenceProperty<Value> property("value");
    property.set(make<Value>().get());
    property.set(property.get());
    EXPECT_EQ(property.retainedCopy()->retainCount(), 2);
}

TEST(ReferenceProperty, MayBeReplacedWhileOthersCopy)
{
    ReferenceProperty<Value> property("value");
    std::jthread reader([&] {
        for (int round = 0; round < 2000; ++round) {
            const AutoreleasePool pool;
            auto* const value = property.autoreleasedCopy();
            EXPECT_TRUE(!value || value->retainCount() >= 1);
        }
    });
    for (int round = 0; round < 2000; ++round)
        property.set(make<Value>().get());
}

TEST(ReferenceHelper, IsNullForNull)
{
    EXPECT_EQ(__CFTypeRefPropertySafeRetainAndAutorelease(nullptr), nullptr);
}

namespace {

/// What is left of one reference after the helper was called and the pool ended: exit status 1 when it is balanced, 2
/// when the fallback kept one. In a process of its own, since the function is looked up once.
[[noreturn]] void useHelperAndExit(const char* failPoint)
{
    const FailPoint::Scope failing(failPoint);
    const auto value = make<Value>();
    // Armed for a pass that never comes, to count them.
    const FailPoint::Scope opening(std::string_view(failPoint) == "dlopen" ? "none" : "dlopen", 0, UINT64_MAX);
    if (__CFTypeRefPropertySafeRetainAndAutorelease(nullptr) || FailPoint::passes("dlopen") != 0)
        _exit(100);
    for (int call = 0; call < 2; ++call) {
        const AutoreleasePool pool;
        if (__CFTypeRefPropertySafeRetainAndAutorelease(value) != value.get())
            _exit(101);
    }
    if (FailPoint::passes("dlopen") != 1)
        _exit(102);
    __CFLogDrain();
    _exit(static_cast<int>(value->retainCount()));
}

}

TEST(ReferenceHelperDeathTest, FallbackKeepsOneReferenceEachTimeAndIsLoggedOnce)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(useHelperAndExit("dlsym"), testing::ExitedWithCode(3),
        "^REQUIRED_NOT_NULL 0x00000000==NULL : sCFAutoreleasePtr in "
        "__CFTypeRefPropertySafeRetainAndAutorelease_block_invoke LINE# [0-9]+ \\(CFTypeRefProperty.cpp\\)\n\n$");
    EXPECT_EXIT(useHelperAndExit("dlopen"), testing::ExitedWithCode(3),
        "^REQUIRED_NOT_NULL 0x00000000==NULL : sCoreFoundationFramework in ___softlink_CFTypeRefFunctionPointer LINE# "
        "[0-9]+ \\(CFTypeRefProperty.cpp\\)\n\n"
        "REQUIRED_NOT_NULL 0x00000000==NULL : sCFAutoreleasePtr in "
        "__CFTypeRefPropertySafeRetainAndAutorelease_block_invoke LINE# [0-9]+ "
        "\\(CFTypeRefProperty.cpp\\)\n\n$");
    EXPECT_EXIT(useHelperAndExit("none"), testing::ExitedWithCode(1), "^$");
}

namespace {

/// The helper's first uses, from many threads at once: exit status 1 when the function was looked up once and no
/// reference is left over.
[[noreturn]] void useHelperFirstFromManyThreadsAndExit()
{
    const FailPoint::Scope opening("dlopen", 0, UINT64_MAX);
    const FailPoint::Scope lookingUp("dlsym", 0, UINT64_MAX);
    const auto value = make<Value>();
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 8; ++thread) {
            threads.emplace_back([&value] {
                const AutoreleasePool pool;
                __CFTypeRefPropertySafeRetainAndAutorelease(value);
            });
        }
    }
    const bool once = FailPoint::passes("dlopen") == 1 && FailPoint::passes("dlsym") == 1;
    _exit(once ? static_cast<int>(value->retainCount()) : 100);
}

}

TEST(ReferenceHelperDeathTest, LooksItsFunctionUpOnceHoweverManyThreadsComeFirst)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(useHelperFirstFromManyThreadsAndExit(), testing::ExitedWithCode(1), "^$");
}
