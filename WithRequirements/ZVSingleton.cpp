#include "WithRequirements/ZVSingleton.h"

NS_IMPLEMENTATION(ZVSingleton, NSObject)
{
    type.creation([](Class receiver) -> Ref<NSObject> {
        auto* const object = ZVSingleton::alloc(receiver);
        return object ? object->init() : nullptr;
    });
    type.message("singletonInit", &ZVSingleton::singletonInit);
    type.message("init", &ZVSingleton::init);
    type.message("singletonInitFirstInstanceOnly", &ZVSingleton::singletonInitFirstInstanceOnly);
    type.message("singletonInitEveryInstance", &ZVSingleton::singletonInitEveryInstance);
}

ZVSingleton* ZVSingleton::sharedInstance(Class receiver)
{
    // Never emptied and never destroyed: a singleton lives until the process ends.
    static NSMutableDictionary* const instances = CFDictionaryCreateMutable(kCFAllocatorDefault).leak();
    if (!kindOf<NSMutableDictionary>(instances))
        return nullptr;
    const auto name = NSStringFromClass(receiver);
    // No lock around lookup and store, which is meant.
    Ref<ZVSingleton> shared(instances->get<ZVSingleton>(name));
    if (!shared) {
        auto* const allocated = singletonAlloc(receiver);
        shared = allocated ? allocated->singletonInit() : nullptr;
        instances->set(name, shared);
    }
    return autorelease(std::move(shared));
}

ZVSingleton* ZVSingleton::singletonAlloc(Class receiver)
{
    const auto object = receiver->allocateInstance();
    return autorelease(Ref(kindOf<ZVSingleton>(object)));
}

ZVSingleton* ZVSingleton::allocWithZone(Class receiver, void* /*zone*/)
{
    return sharedInstance(receiver);
}

ZVSingleton* ZVSingleton::alloc(Class receiver)
{
    return sharedInstance(receiver);
}

ZVSingleton* ZVSingleton::singletonInit()
{
    return singletonInitFirstInstanceOnly();
}

ZVSingleton* ZVSingleton::init()
{
    return singletonInitEveryInstance();
}
