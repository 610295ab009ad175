#include "WithRequirements/ZVSingleton.h"

#include <gtest/gtest.h>

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
