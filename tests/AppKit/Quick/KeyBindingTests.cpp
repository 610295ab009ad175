#include "Platform/AppKit/Quick/KeyBinding.h"

#include "tests/AppKit/Quick/QuickTest.h"

#include <thread>

namespace {

class Volume : public NSObject {
    NS_OBJECT(Volume)
public:
    long level() const { return mLevel; }
    /// At most 10.
    void setLevel(long level)
    {
        const NSKeyValueChange change(this, "level");
        mLevel = std::min(level, 10L);
    }
    Ref<CFArray> names() const { return CFArray::create({ CFSTR("low"), CFSTR("high") }); }

private:
    std::atomic<long> mLevel = 3;
};

NS_IMPLEMENTATION(Volume, NSObject)
{
    type.key("level", &Volume::level, &Volume::setLevel);
    type.key("names", &Volume::names);
}

class Doubler : public NSObject {
    NS_OBJECT(Doubler)
public:
    Ref<CFType> transformedValue(CFType* value)
    {
        const auto* const number = kindOf<CFNumber>(value);
        return CFNumber::create(number ? 2 * number->integerValue() : -1);
    }
};

NS_IMPLEMENTATION(Doubler, NSObject)
{
    type.message("transformedValue:", &Doubler::transformedValue);
}

class KeyBindingTest : public QuickTest {
protected:
    void bind(KeyBinding& binding, NSObject* object, const char* key)
    {
        binding.setObject(QVariant::fromValue(ObjectHandle { object }));
        binding.setProperty("keyPath", QString::fromUtf8(key));
        binding.componentComplete();
    }
};

TEST_F(KeyBindingTest, FollowsTheKeyAndSaysSo)
{
    const auto volume = make<Volume>();
    KeyBinding binding;
    bind(binding, volume, "level");
    EXPECT_EQ(binding.value(), QVariant(3));
    int changes = 0;
    QObject::connect(&binding, &KeyBinding::valueChanged, [&] { ++changes; });
    volume->setLevel(5);
    EXPECT_EQ(binding.value(), QVariant(5));
    volume->setLevel(5);
    EXPECT_EQ(changes, 1);
}

TEST_F(KeyBindingTest, ShowsWhatTheObjectMadeOfAWrittenValue)
{
    const auto volume = make<Volume>();
    KeyBinding binding;
    bind(binding, volume, "level");
    binding.setValue(25);
    EXPECT_EQ(volume->level(), 10);
    EXPECT_EQ(binding.value(), QVariant(10));
}

TEST_F(KeyBindingTest, FollowsChangesOfAnotherThreadOnTheMainThread)
{
    const auto volume = make<Volume>();
    KeyBinding binding;
    bind(binding, volume, "level");
    std::thread::id changedOn;
    QObject::connect(&binding, &KeyBinding::valueChanged, [&] { changedOn = std::this_thread::get_id(); });
    std::thread([&] { volume->setLevel(7); }).join();
    EXPECT_EQ(binding.value(), QVariant(3));
    EXPECT_TRUE(waitFor([&] { return binding.value() == QVariant(7); }));
    EXPECT_EQ(changedOn, std::this_thread::get_id());
}

TEST_F(KeyBindingTest, GivesListsAsLists)
{
    const auto volume = make<Volume>();
    KeyBinding binding;
    bind(binding, volume, "names");
    EXPECT_EQ(binding.value().toStringList(), QStringList({ "low", "high" }));
}

TEST_F(KeyBindingTest, ShowsWhatItsTransformerMakesOfTheValue)
{
    const auto volume = make<Volume>();
    KeyBinding binding;
    binding.setProperty("transformer", QStringLiteral("Doubler"));
    bind(binding, volume, "level");
    EXPECT_EQ(binding.value(), QVariant(6));
    volume->setLevel(4);
    EXPECT_EQ(binding.value(), QVariant(8));
}

TEST_F(KeyBindingTest, EndsWithItsElementWhileAChangeIsOnItsWay)
{
    const auto volume = make<Volume>();
    {
        KeyBinding binding;
        bind(binding, volume, "level");
        std::thread([&] { volume->setLevel(7); }).join();
    }
    QCoreApplication::processEvents();
    volume->setLevel(8);
    EXPECT_EQ(volume->level(), 8);
}

}
