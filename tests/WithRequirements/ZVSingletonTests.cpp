#include "WithRequirements/ZVSingleton.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

class ZVSingletonTestsBase : public ZVSingleton {
    NS_OBJECT(ZVSingletonTestsBase)
public:
    static ZVSingletonTestsBase* sharedInstance()
    {
        return kindOf<ZVSingletonTestsBase>(ZVSingleton::sharedInstance(classObject()));
    }
    ZVSingleton* singletonInitFirstInstanceOnly() override
    {
        ++first;
        return ZVSingleton::singletonInitFirstInstanceOnly();
    }
    ZVSingleton* singletonInitEveryInstance() override
    {
        ++every;
        return ZVSingleton::singletonInitEveryInstance();
    }
    int first = 0;
    int every = 0;
};

NS_IMPLEMENTATION(ZVSingletonTestsBase, ZVSingleton) { }

class ZVSingletonTestsDerived : public ZVSingletonTestsBase {
    NS_OBJECT(ZVSingletonTestsDerived)
public:
    static ZVSingletonTestsDerived* sharedInstance()
    {
        return kindOf<ZVSingletonTestsDerived>(ZVSingleton::sharedInstance(classObject()));
    }
};

NS_IMPLEMENTATION(ZVSingletonTestsDerived, ZVSingletonTestsBase) { }

}

TEST(ZVSingleton, AllocatingAndInitialisingGivesTheSharedObjectAgain)
{
    const AutoreleasePool pool;
    auto* const shared = ZVSingletonTestsBase::sharedInstance();
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(shared->first, 1);
    const auto every = shared->every;
    auto* const type = ZVSingletonTestsBase::classObject();
    EXPECT_EQ(ZVSingleton::alloc(type)->init(), shared);
    EXPECT_EQ(ZVSingleton::allocWithZone(type, nullptr)->init(), shared);
    EXPECT_EQ(ZVSingletonTestsBase::sharedInstance(), shared);
    EXPECT_EQ(shared->first, 1);
    EXPECT_EQ(shared->every, every + 2);
}

TEST(ZVSingleton, ObjectMadeByNameIsTheSharedOne)
{
    const AutoreleasePool pool;
    auto* const shared = ZVSingletonTestsDerived::sharedInstance();
    const auto every = shared->every;
    EXPECT_EQ(NSClassFromString(CFSTR("ZVSingletonTestsDerived"))->createInstance().get(), shared);
    EXPECT_EQ(shared->every, every + 1);
    EXPECT_EQ(shared->first, 1);
}

TEST(ZVSingleton, AskingForTheSharedObjectDoesNotInitialiseItAgain)
{
    const AutoreleasePool pool;
    const auto every = ZVSingletonTestsBase::sharedInstance()->every;
    EXPECT_EQ(ZVSingletonTestsBase::sharedInstance()->every, every);
}

TEST(ZVSingleton, EachClassHasItsOwnObject)
{
    const AutoreleasePool pool;
    EXPECT_NE(
        static_cast<ZVSingleton*>(ZVSingletonTestsBase::sharedInstance()), ZVSingletonTestsDerived::sharedInstance());
    EXPECT_NE(ZVSingleton::sharedInstance(), ZVSingletonTestsBase::sharedInstance());
    EXPECT_EQ(ZVSingletonTestsBase::sharedInstance()->isa(), ZVSingletonTestsBase::classObject());
    EXPECT_EQ(ZVSingletonTestsDerived::sharedInstance()->isa(), ZVSingletonTestsDerived::classObject());
}

namespace {

/// In a process of its own, since the dictionary is made once.
[[noreturn]] void askWithoutADictionaryAndExit()
{
    {
        const FailPoint::Scope failing("CFDictionaryCreateMutable");
        if (ZVSingletonTestsBase::sharedInstance())
            _exit(1);
    }
    auto* const type = ZVSingletonTestsBase::classObject();
    const bool isNull = !ZVSingletonTestsBase::sharedInstance() && !ZVSingleton::alloc(type)
        && !ZVSingleton::allocWithZone(type, nullptr) && !type->createInstance();
    _exit(isNull ? 0 : 2);
}

}

TEST(ZVSingletonDeathTest, ThereIsNoObjectWithoutTheDictionary)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(askWithoutADictionaryAndExit(), testing::ExitedWithCode(0), "^$");
}

TEST(ZVSingleton, TrueAllocationGivesAnotherObjectEachTime)
{
    const AutoreleasePool pool;
    auto* const type = ZVSingletonTestsBase::classObject();
    auto* const allocated = ZVSingleton::singletonAlloc(type);
    ASSERT_NE(allocated, nullptr);
    EXPECT_NE(allocated, ZVSingleton::singletonAlloc(type));
    EXPECT_NE(allocated, static_cast<ZVSingleton*>(ZVSingletonTestsBase::sharedInstance()));
    EXPECT_EQ(allocated->retainCount(), 1) << "the pool's";
    auto* const raw = kindOf<ZVSingletonTestsBase>(allocated);
    EXPECT_EQ(raw->singletonInit(), allocated);
    EXPECT_EQ(raw->first, 1);
    EXPECT_EQ(raw->every, 0);
}
