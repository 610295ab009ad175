#pragma once

#include "Platform/Foundation/NSObject.h"

#include <any>
#include <concepts>
#include <functional>
#include <map>
#include <optional>
#include <vector>

/// How values of C++ types and objects become one another in key-value access.
namespace NSKeyValueCoding {

template <class> struct IsRef : std::false_type {
};
template <class T> struct IsRef<Ref<T>> : std::true_type {
};
template <class> struct IsWeakRef : std::false_type {
};
template <class T> struct IsWeakRef<WeakRef<T>> : std::true_type {
};
/// What a reference refers to.
template <class> struct Pointee;
template <class T> struct Pointee<Ref<T>> {
    using type = T;
};
template <class T> struct Pointee<WeakRef<T>> {
    using type = T;
};

/// The types whose values key-value access knows; a message that returns another one gives null when sent by name.
template <class V>
concept Boxable
    = std::is_arithmetic_v<V> || std::is_enum_v<V> || IsRef<V>::value || IsWeakRef<V>::value || std::is_convertible_v<V,
        CFType*> || std::is_convertible_v<V, std::string_view>;

template <Boxable V> Ref<CFType> box(const V& value)
{
    if constexpr (std::is_same_v<V, bool>)
        return Ref<CFType>(CFBoolean::of(value));
    else if constexpr (std::is_enum_v<V>)
        return CFNumber::create(static_cast<std::int64_t>(value));
    else if constexpr (std::is_arithmetic_v<V>)
        return CFNumber::create(value);
    else if constexpr (std::is_pointer_v<V>)
        return Ref<CFType>(value);
    else if constexpr (IsRef<V>::value)
        return Ref<CFType>(value.get());
    else if constexpr (IsWeakRef<V>::value)
        return Ref<CFType>(value.strongReference());
    else
        return CFString::create(value);
}

template <class V> V unbox(CFType* object)
{
    if constexpr (std::is_same_v<V, bool>) {
        const auto* const number = dynamic_cast<CFNumber*>(object);
        return number && number->boolValue();
    } else if constexpr (std::is_floating_point_v<V>) {
        const auto* const number = dynamic_cast<CFNumber*>(object);
        return number ? static_cast<V>(number->doubleValue()) : V {};
    } else if constexpr (std::is_arithmetic_v<V> || std::is_enum_v<V>) {
        const auto* const number = dynamic_cast<CFNumber*>(object);
        return number ? static_cast<V>(number->integerValue()) : V {};
    } else if constexpr (std::is_pointer_v<V>) {
        return dynamic_cast<V>(object);
    } else if constexpr (IsRef<V>::value || IsWeakRef<V>::value) {
        return V(dynamic_cast<typename Pointee<V>::type*>(object));
    } else {
        auto* const string = dynamic_cast<CFString*>(object);
        return V(string ? string->string() : std::string());
    }
}

}

/// A class as an object: its name, its superclass, and the messages, keys and outlets that it registered.
///
/// Built once, when first asked for; unchanging and immortal from then on.
class NSClass final : public CFType {
public:
    /// Calls a message with at most one argument.
    using Invoker = std::function<Ref<CFType>(NSObject&, CFType*)>;
    struct Key {
        std::function<Ref<CFType>(NSObject&)> get;
        std::function<void(NSObject&, CFType*)> set; ///< empty for a key that only reads
    };
    struct Outlet {
        /// The class that objects must have to be connected; null when any may. Asked for when it is needed, since
        /// classes may refer to one another.
        Class type() const { return classOf ? classOf() : nullptr; }
        Class (*classOf)();
        std::function<void(NSObject&, NSObject*)> connect;
        std::function<Ref<NSObject>(NSObject&)> get;
    };

    explicit NSClass(std::string name, Class superclass);
    const std::string& name() const noexcept { return mName; }
    Class superclass() const noexcept { return mSuperclass; }
    bool isSubclassOfClass(Class other) const noexcept;
    bool instancesRespondToSelector(SEL selector) const;
    /// Whether objects of the class can be made by name.
    bool isInstantiable() const noexcept { return static_cast<bool>(mCreate); }
    /// A new object; null for an abstract class. Runs the class's `initialize` before the first.
    Ref<NSObject> createInstance();
    /// A new object, even where the class makes its objects by name in another way; null for an abstract class.
    Ref<NSObject> allocateInstance() { return mAllocate ? mAllocate() : Ref<NSObject>(); }
    /// The function of type \p F that this class, or else the nearest superclass, registered as a message of the class
    /// itself; null when none did.
    template <class F> F* classMessage(SEL selector) const
    {
        for (auto type = this; type; type = type->mSuperclass) {
            const auto found = type->mClassMessages.find(selector);
            if (found != type->mClassMessages.end())
                return std::any_cast<F*>(found->second);
        }
        return nullptr;
    }

    /// Looks in this class, then in its superclasses; null when none registered it.
    const Invoker* message(SEL selector) const;
    const Key* key(std::string_view key) const;
    const Outlet* outlet(std::string_view name) const;
    /// The keys, of this class and its superclasses, whose value depends on \p key.
    std::vector<std::string> keysDependingOn(std::string_view key) const;

    std::string description() override { return mName; }

private:
    template <class> friend class NSClassBuilder;
    std::string mName;
    Class mSuperclass;
    std::function<Ref<NSObject>()> mCreate;
    std::function<Ref<NSObject>()> mAllocate;
    Ref<NSObject> (*mCreation)(Class) = nullptr;
    std::function<void()> mInitialize;
    std::once_flag mInitialized;
    std::map<std::string, std::optional<Invoker>, std::less<>> mMessages;
    std::map<std::string, std::any, std::less<>> mClassMessages;
    std::map<std::string, Key, std::less<>> mKeys;
    std::map<std::string, Outlet, std::less<>> mOutlets;
    std::multimap<std::string, std::string, std::less<>> mDependents;
};

/// What a class says about itself, once, beside its implementation.
template <class C> class NSClassBuilder {
public:
    static Class build(const char* name, Class superclass, void (*registerMembers)(NSClassBuilder&))
    {
        auto type = make<NSClass>(name, superclass);
        type->makeImmortal();
        NSClassBuilder builder(type.get());
        if constexpr (std::is_default_constructible_v<C> && !std::is_abstract_v<C>)
            type->mCreate = type->mAllocate = [] { return Ref<NSObject>(make<C>()); };
        type->mCreation = superclass ? superclass->mCreation : nullptr;
        registerMembers(builder);
        if (type->mCreate && type->mCreation)
            type->mCreate = [object = type.get()] { return object->mCreation(object); };
        return type.leak();
    }

    /// Runs once before the first object of the class is made by name.
    void initialize(void (*function)()) { mType->mInitialize = function; }

    /// How objects of this class and its subclasses are made by name, where that is not by making a new one.
    void creation(Ref<NSObject> (*function)(Class)) { mType->mCreation = function; }
    /// A message of the class itself, for callers that hold the class as an object.
    template <class F> void classMessage(SEL selector, F* function)
    {
        mType->mClassMessages[std::string(selector)] = function;
    }

    /// A message of the class's objects. Those with at most one argument, an object, can also be sent by name.
    template <class R, class Owner, class... A> void message(SEL selector, R (Owner::*member)(A...))
    {
        addMessage<R, A...>(selector, member);
    }
    template <class R, class Owner, class... A> void message(SEL selector, R (Owner::*member)(A...) const)
    {
        addMessage<R, A...>(selector, member);
    }

    /// A value by key, read and written through its getter and setter.
    template <class G> void key(std::string_view name, G getter) { addKey(name, getter); }
    template <class G, class Owner, class R, class V> void key(std::string_view name, G getter, R (Owner::*setter)(V))
    {
        addKey(name, getter).set = [setter](NSObject& object, CFType* value) {
            (static_cast<C&>(object).*setter)(NSKeyValueCoding::unbox<std::remove_cvref_t<V>>(value));
        };
    }
    /// A key whose value is computed from others and changes when they do.
    void dependentKey(std::string_view key, std::initializer_list<std::string_view> affecting)
    {
        for (const auto other : affecting)
            mType->mDependents.emplace(other, key);
    }

    /// A field that an interface file connects: a `WeakRef` or a `Ref`.
    template <class F, class Owner> void outlet(std::string_view name, F Owner::*field)
    {
        mType->mOutlets.emplace(std::string(name),
            NSClass::Outlet { targetClass<F>,
                [field](NSObject& object, NSObject* target) {
                    static_cast<C&>(object).*field = NSKeyValueCoding::unbox<F>(target);
                },
                [field](NSObject& object) {
                    return Ref<NSObject>(kindOf<NSObject>(NSKeyValueCoding::box(static_cast<C&>(object).*field)));
                } });
    }
    /// An outlet with a setter of its own, such as a delegate.
    template <class G, class Owner, class T> void outlet(std::string_view name, G getter, void (Owner::*setter)(T*))
    {
        mType->mOutlets.emplace(std::string(name),
            NSClass::Outlet { targetClass<Ref<T>>,
                [setter](NSObject& object, NSObject* target) {
                    (static_cast<C&>(object).*setter)(dynamic_cast<T*>(target));
                },
                [getter](NSObject& object) {
                    const auto value = (static_cast<C&>(object).*getter)();
                    return Ref<NSObject>(kindOf<NSObject>(NSKeyValueCoding::box(value)));
                } });
    }

private:
    explicit NSClassBuilder(NSClass* type)
        : mType(type)
    {
    }

    /// The class of an outlet's objects, where it has one: a protocol has none.
    template <class F> static Class targetClass()
    {
        using Target = typename NSKeyValueCoding::Pointee<F>::type;
        if constexpr (requires { Target::classObject(); })
            return Target::classObject();
        else
            return nullptr;
    }

    template <class G> NSClass::Key& addKey(std::string_view name, G getter)
    {
        auto& key = mType->mKeys[std::string(name)];
        key.get = [getter](NSObject& object) {
            return NSKeyValueCoding::box<std::remove_cvref_t<decltype((static_cast<C&>(object).*getter)())>>(
                (static_cast<C&>(object).*getter)());
        };
        return key;
    }

    template <class R, class... A, class M> void addMessage(SEL selector, M member)
    {
        auto& entry = mType->mMessages[std::string(selector)];
        if constexpr (sizeof...(A) == 0) {
            entry = [member](NSObject& object, CFType*) -> Ref<CFType> {
                if constexpr (requires { NSKeyValueCoding::box<R>(std::declval<R>()); }) {
                    return NSKeyValueCoding::box<R>((static_cast<C&>(object).*member)());
                } else {
                    (static_cast<C&>(object).*member)();
                    return nullptr;
                }
            };
        } else if constexpr (sizeof...(A) == 1 && (std::is_pointer_v<A> && ...)
            && (std::is_class_v<std::remove_pointer_t<A>> && ...)) {
            entry = [member](NSObject& object, CFType* argument) -> Ref<CFType> {
                if constexpr (std::is_void_v<R>)
                    (static_cast<C&>(object).*member)(dynamic_cast<A>(argument)...);
                else
                    return NSKeyValueCoding::box<R>((static_cast<C&>(object).*member)(dynamic_cast<A>(argument)...));
                return nullptr;
            };
        }
    }

    NSClass* mType;
};

/// Enters a class into the list of classes by name when the program is loaded.
class NSClassRegistration {
public:
    NSClassRegistration(const char* name, Class (*classObject)());
};

/// The class registered under \p name, or null.
Class NSClassFromString(CFString* name);
Ref<CFString> NSStringFromClass(Class type);

/// In the class: declares what makes it known by name.
#define NS_OBJECT(Type)                                                                                                \
public:                                                                                                                \
    static Class classObject();                                                                                        \
    Class isa() const override                                                                                         \
    {                                                                                                                  \
        return classObject();                                                                                          \
    }                                                                                                                  \
                                                                                                                       \
private:                                                                                                               \
    static void registerMembers(NSClassBuilder<Type>& type);

/// In the source file, followed by the body that registers messages, keys and outlets on `type`.
#define NS_IMPLEMENTATION(Type, Super)                                                                                 \
    namespace {                                                                                                        \
    const NSClassRegistration registrationOf##Type { #Type, &Type::classObject };                                      \
    }                                                                                                                  \
    Class Type::classObject()                                                                                          \
    {                                                                                                                  \
        static const Class object = NSClassBuilder<Type>::build(#Type, Super::classObject(), &Type::registerMembers);  \
        return object;                                                                                                 \
    }                                                                                                                  \
    void Type::registerMembers([[maybe_unused]] NSClassBuilder<Type>& type)
