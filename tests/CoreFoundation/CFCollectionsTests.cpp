#include "Platform/CoreFoundation/CFCollections.h"

#include "Platform/CoreFoundation/CFNumber.h"

#include <gtest/gtest.h>

#include <thread>

TEST(CFArray, GivesItsObjectsInOrderAndNothingOutside)
{
    const AutoreleasePool pool;
    const auto array = CFArray::create({ CFSTR("a"), CFSTR("b") });
    EXPECT_EQ(array->count(), 2U);
    EXPECT_EQ(array->objectAtIndex(1), CFSTR("b"));
    EXPECT_EQ(array->objectAtIndex(2), nullptr);
    EXPECT_TRUE(array->containsObject(CFString::create("a").get()));
    EXPECT_EQ(array->description(), "(\n    a,\n    b\n)");
}

TEST(CFDictionary, FindsByEqualKeysAndKeepsTheirOrder)
{
    const AutoreleasePool pool;
    const auto dictionary = CFDictionary::create({ { CFSTR("one"), CFNumber::create(1).get() } });
    dictionary->set("two", CFSTR("zwei"));
    dictionary->set("one", CFSTR("eins"));
    EXPECT_EQ(dictionary->objectForKey("one"), CFSTR("eins"));
    EXPECT_EQ(dictionary->get<CFNumber>(CFSTR("one")), nullptr);
    EXPECT_EQ(dictionary->description(), "{\n    one = eins;\n    two = zwei;\n}");
    dictionary->set("one", nullptr);
    EXPECT_EQ(dictionary->count(), 1U);
    EXPECT_EQ(dictionary->objectForKey("one"), nullptr);
}

TEST(CFDictionary, TakesTheEntriesOfAnotherOverItsOwn)
{
    const auto dictionary = CFDictionary::create({ { CFSTR("x"), CFSTR("1") }, { CFSTR("y"), CFSTR("2") } });
    const auto other = CFDictionary::create({ { CFSTR("y"), CFSTR("3") }, { CFSTR("z"), CFSTR("4") } });
    dictionary->addEntriesFromDictionary(other);
    dictionary->addEntriesFromDictionary(nullptr);
    EXPECT_TRUE(CFEqual(dictionary,
        CFDictionary::create({ { CFSTR("x"), CFSTR("1") }, { CFSTR("y"), CFSTR("3") }, { CFSTR("z"), CFSTR("4") } })
            .get()));
    EXPECT_EQ(other->count(), 2U);
}

TEST(CFDictionary, EqualsAnotherWithTheSameEntriesInAnyOrder)
{
    const auto a = CFDictionary::create({ { CFSTR("x"), CFSTR("1") }, { CFSTR("y"), CFSTR("2") } });
    const auto b = CFDictionary::create({ { CFSTR("y"), CFSTR("2") }, { CFSTR("x"), CFSTR("1") } });
    EXPECT_TRUE(CFEqual(a, b));
    b->set("y", CFSTR("3"));
    EXPECT_FALSE(CFEqual(a, b));
}

TEST(CFDictionary, MayBeUsedByManyThreadsAtOnce)
{
    const auto dictionary = CFDictionary::create();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 500; ++i) {
                const AutoreleasePool pool;
                dictionary->set(std::to_string(i % 10), CFNumber::create(thread).get());
                EXPECT_NE(dictionary->objectForKey(std::to_string(i % 10)), nullptr);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(dictionary->count(), 10U);
}
