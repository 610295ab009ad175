#pragma once

#include "Platform/Foundation/NSObject.h"

class ZVSingletonProtocol {
public:
    virtual ~ZVSingletonProtocol() = default;
};

/// The base of process-wide single objects. Each class has one object of its own, made on first use and kept until the
/// process ends.
///
/// Asking for a new object, by name or with `alloc`, gives the shared one and runs `singletonInitEveryInstance` on it
/// once more; `singletonInitFirstInstanceOnly` runs once in the process for each class. The messages of the class take
/// the receiving class; a derived class offers `sharedInstance()` for its own:
///
///     static Derived* sharedInstance() { return kindOf<Derived>(ZVSingleton::sharedInstance(classObject())); }
///
/// The first use of a class must be over before a second thread asks for it.
class ZVSingleton : public NSObject, public ZVSingletonProtocol {
    NS_OBJECT(ZVSingleton)
public:
    static ZVSingleton* sharedInstance() { return sharedInstance(classObject()); }

    static ZVSingleton* sharedInstance(Class receiver);
    /// The true allocation; the innermost pool keeps the object.
    static ZVSingleton* singletonAlloc(Class receiver);
    static ZVSingleton* allocWithZone(Class receiver, void* zone);
    static ZVSingleton* alloc(Class receiver);

    ZVSingleton* singletonInit();
    ZVSingleton* init();
    /// One-time set-up. Overriders call the base's.
    virtual ZVSingleton* singletonInitFirstInstanceOnly() { return this; }
    virtual ZVSingleton* singletonInitEveryInstance() { return this; }
};
