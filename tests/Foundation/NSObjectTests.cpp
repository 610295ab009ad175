#include "Platform/Foundation/NSObject.h"

#include <gmock/gmock.h>

#include <algorithm>

using testing::ElementsAre;

namespace {

class NSObjectTestsPerson : public NSObject {
    NS_OBJECT(NSObjectTestsPerson)
public:
    static inline int initialized = 0;
    static void initialize() { ++initialized; }

    std::string name() const { return mName; }
    void setName(const std::string& name)
    {
        const NSKeyValueChange change(this, "name");
        mName = name;
    }
    int age() const { return mAge; }
    void setAge(int age)
    {
        const NSKeyValueChange change(this, "age");
        mAge = age;
    }
    std::string label() const { return mName + "/" + std::to_string(mAge); }
    NSObjectTestsPerson* partner() const { return mPartner; }
    void setPartner(NSObjectTestsPerson* partner)
    {
        const NSKeyValueChange change(this, "partner");
        mPartner = partner;
    }
    void greet(NSObjectTestsPerson* other) { mGreeted = other ? other->name() : "nobody"; }
    bool isAdult() const { return mAge >= 18; }
    void setDelegate(NSObject* delegate) { mDelegate = delegate; }
    Ref<NSObject> delegate() const { return mDelegate.strongReference(); }

    WeakRef<NSObjectTestsPerson> outletFriend;
    std::string mGreeted;

private:
    std::string mName;
    int mAge = 0;
    Ref<NSObjectTestsPerson> mPartner;
    WeakRef<NSObject> mDelegate;
};

NS_IMPLEMENTATION(NSObjectTestsPerson, NSObject)
{
    type.initialize(&NSObjectTestsPerson::initialize);
    type.key("name", &NSObjectTestsPerson::name, &NSObjectTestsPerson::setName);
    type.key("age", &NSObjectTestsPerson::age, &NSObjectTestsPerson::setAge);
    type.key("label", &NSObjectTestsPerson::label);
    type.dependentKey("label", { "name", "age" });
    type.key("partner", &NSObjectTestsPerson::partner, &NSObjectTestsPerson::setPartner);
    type.message("greet:", &NSObjectTestsPerson::greet);
    type.message("isAdult", &NSObjectTestsPerson::isAdult);
    type.outlet("outletFriend", &NSObjectTestsPerson::outletFriend);
    type.outlet("delegate", &NSObjectTestsPerson::delegate, &NSObjectTestsPerson::setDelegate);
}

class NSObjectTestsChild : public NSObjectTestsPerson {
    NS_OBJECT(NSObjectTestsChild)
public:
    void play() { }
};

NS_IMPLEMENTATION(NSObjectTestsChild, NSObjectTestsPerson)
{
    type.message("play", &NSObjectTestsChild::play);
}

class Recorder : public NSObject {
public:
    void observeValueForKeyPath_ofObject_change_context(
        CFString* keyPath, NSObject*, CFDictionary* change, const void*) override
    {
        const AutoreleasePool pool;
        std::string line = keyPath->string();
        if (change->objectForKey(NSKeyValueChangeNotificationIsPriorKey))
            line += " will";
        if (auto* const old = change->objectForKey(NSKeyValueChangeOldKey))
            line += " old=" + old->description();
        if (auto* const fresh = change->objectForKey(NSKeyValueChangeNewKey))
            line += " new=" + fresh->description();
        lines.push_back(line);
    }
    std::vector<std::string> lines;
};

constexpr unsigned everything
    = NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld | NSKeyValueObservingOptionPrior;

}

TEST(NSClass, IsFoundByNameAndMakesObjects)
{
    auto* const type = NSClassFromString(CFSTR("NSObjectTestsChild"));
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type, NSObjectTestsChild::classObject());
    EXPECT_EQ(type->superclass()->name(), "NSObjectTestsPerson");
    const auto object = type->createInstance();
    EXPECT_NE(kindOf<NSObjectTestsChild>(object), nullptr);
    EXPECT_TRUE(object->isKindOfClass(NSObjectTestsPerson::classObject()));
    EXPECT_EQ(NSClassFromString(CFSTR("NoSuchClass")), nullptr);
    EXPECT_EQ(NSClassFromString(nullptr), nullptr);
}

TEST(NSClass, InitializesOnceBeforeTheFirstObjectByName)
{
    auto* const type = NSClassFromString(CFSTR("NSObjectTestsPerson"));
    const auto first = type->createInstance();
    const auto second = type->createInstance();
    EXPECT_EQ(NSObjectTestsPerson::initialized, 1);
}

TEST(NSObject, RespondsToItsOwnAndInheritedMessagesOnly)
{
    const auto child = make<NSObjectTestsChild>();
    EXPECT_TRUE(child->respondsToSelector("play"));
    EXPECT_TRUE(child->respondsToSelector("greet:"));
    EXPECT_FALSE(child->respondsToSelector("greet"));
    EXPECT_FALSE(make<NSObjectTestsPerson>()->respondsToSelector("play"));
}

TEST(NSObject, SendsMessagesByTheirText)
{
    const auto a = make<NSObjectTestsPerson>();
    const auto b = make<NSObjectTestsPerson>();
    b->setName("Bea");
    a->performSelector("greet:", b);
    EXPECT_EQ(a->mGreeted, "Bea");
    a->performSelector("greet:", kCFNull);
    EXPECT_EQ(a->mGreeted, "nobody");
    EXPECT_EQ(a->performSelector("isAdult")->description(), "0");
    EXPECT_THROW(a->performSelector("vanish"), NSException);
}

TEST(NSObject, ReadsAndWritesValuesByKeyAndPath)
{
    const auto person = make<NSObjectTestsPerson>();
    const auto partner = make<NSObjectTestsPerson>();
    person->setValue_forKey(CFSTR("Ada"), "name");
    person->setValue_forKey(CFNumber::create(36).get(), "age");
    EXPECT_EQ(person->valueForKey("label")->description(), "Ada/36");
    EXPECT_FALSE(person->valueForKeyPath("partner.name"));
    person->setPartner(partner);
    person->setValue_forKeyPath(CFSTR("Charles"), "partner.name");
    EXPECT_EQ(person->valueForKeyPath("partner.name")->description(), "Charles");
    person->setValue_forKey(kCFNull, "partner");
    EXPECT_EQ(person->partner(), nullptr);
}

TEST(NSObject, RefusesKeysThatNobodyRegistered)
{
    const auto person = make<NSObjectTestsPerson>();
    EXPECT_THROW(person->valueForKey("height"), NSException);
    EXPECT_THROW(person->setValue_forKey(nullptr, "height"), NSException);
    EXPECT_THROW(person->setValue_forKey(CFSTR("x"), "label"), NSException);
    try {
        person->valueForKey("height");
    } catch (const NSException& exception) {
        EXPECT_EQ(exception.name(), "NSUnknownKeyException");
        EXPECT_NE(exception.reason().find("\"height\""), std::string::npos);
    }
}

TEST(NSObject, ConnectsOutletsWeaklyAndKnowsTheirClass)
{
    const auto person = make<NSObjectTestsPerson>();
    const auto* const outlet = person->isa()->outlet("outletFriend");
    ASSERT_NE(outlet, nullptr);
    EXPECT_EQ(outlet->type(), NSObjectTestsPerson::classObject());
    {
        const auto other = make<NSObjectTestsChild>();
        outlet->connect(*person, other);
        EXPECT_EQ(outlet->get(*person).get(), other.get());
    }
    EXPECT_FALSE(outlet->get(*person));
    const auto* const delegate = NSObjectTestsChild::classObject()->outlet("delegate");
    ASSERT_NE(delegate, nullptr);
    EXPECT_EQ(delegate->type(), NSObject::classObject());
    EXPECT_EQ(person->isa()->outlet("outletEnemy"), nullptr);
}

TEST(NSObject, TellsObserversBeforeAndAfterAChange)
{
    const auto person = make<NSObjectTestsPerson>();
    const auto recorder = make<Recorder>();
    person->addObserver_forKeyPath_options_context(recorder, "age", everything, nullptr);
    person->setAge(3);
    EXPECT_THAT(recorder->lines, ElementsAre("age will old=0", "age old=0 new=3"));
    person->removeObserver_forKeyPath(recorder, "age");
    person->setAge(4);
    EXPECT_EQ(recorder->lines.size(), 2U);
    EXPECT_THROW(person->removeObserver_forKeyPath(recorder, "age"), NSException);
}

TEST(NSObject, TellsTheFirstValueWhenAsked)
{
    const auto person = make<NSObjectTestsPerson>();
    const auto recorder = make<Recorder>();
    person->addObserver_forKeyPath_options_context(
        recorder, "age", NSKeyValueObservingOptionInitial | NSKeyValueObservingOptionNew, nullptr);
    EXPECT_THAT(recorder->lines, ElementsAre("age new=0"));
}

TEST(NSObject, AChangeOfAKeyChangesTheKeysThatDependOnIt)
{
    const auto person = make<NSObjectTestsPerson>();
    const auto recorder = make<Recorder>();
    person->addObserver_forKeyPath_options_context(recorder, "label", everything, nullptr);
    person->setName("Eve");
    EXPECT_THAT(recorder->lines, ElementsAre("label will old=/0", "label old=/0 new=Eve/0"));
}

TEST(NSObject, FollowsAKeyPathWhenTheObjectOnItsWayChanges)
{
    const auto person = make<NSObjectTestsPerson>();
    const auto first = make<NSObjectTestsPerson>();
    const auto second = make<NSObjectTestsPerson>();
    first->setName("first");
    second->setName("second");
    const auto recorder = make<Recorder>();
    person->addObserver_forKeyPath_options_context(
        recorder, "partner.name", NSKeyValueObservingOptionNew | NSKeyValueObservingOptionInitial, nullptr);
    person->setPartner(first);
    first->setName("FIRST");
    person->setPartner(second);
    first->setName("unseen");
    second->setName("SECOND");
    EXPECT_THAT(recorder->lines,
        ElementsAre("partner.name new=<null>", "partner.name new=first", "partner.name new=FIRST",
            "partner.name new=second", "partner.name new=SECOND"));
    person->removeObserver_forKeyPath(recorder, "partner.name");
    second->setName("unseen");
    EXPECT_EQ(recorder->lines.size(), 5U);
}

TEST(NSObject, ForgetsObserversThatDied)
{
    const auto person = make<NSObjectTestsPerson>();
    {
        const auto recorder = make<Recorder>();
        person->addObserver_forKeyPath_options_context(recorder, "age", everything, nullptr);
    }
    person->setAge(1);
    EXPECT_EQ(person->age(), 1);
}
