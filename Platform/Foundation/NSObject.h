#pragma once

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/CFString.h"
#include "Platform/Foundation/NSException.h"

#include <mutex>
#include <string_view>

class NSClass;
class NSKeyValueObservations;

/// The text of a message, colons included.
using SEL = std::string_view;
using Class = NSClass*;

enum NSKeyValueObservingOptions : unsigned {
    NSKeyValueObservingOptionNew = 1,
    NSKeyValueObservingOptionOld = 2,
    NSKeyValueObservingOptionInitial = 4,
    NSKeyValueObservingOptionPrior = 8,
};

inline CFString* const NSKeyValueChangeNewKey = CFSTR("new");
inline CFString* const NSKeyValueChangeOldKey = CFSTR("old");
inline CFString* const NSKeyValueChangeNotificationIsPriorKey = CFSTR("notificationIsPrior");

/// The base of every class with messages: knows its class, answers which messages it has, and offers its values and
/// their changes by key.
///
/// Key-value access and observation may be used from any thread; observers are told on the thread that changes the
/// value. Observers are held weakly.
class NSObject : public CFType {
public:
    NSObject();
    ~NSObject() override;

    static Class classObject();
    virtual Class isa() const;

    bool isKindOfClass(Class type) const;
    bool respondsToSelector(SEL selector) const;
    /// Sends the message by its text. Arguments of the wrong class arrive as null.
    /// \throws NSException NSInvalidArgumentException when the object has no such message
    Ref<CFType> performSelector(SEL selector, CFType* argument = nullptr);

    /// \throws NSException NSUnknownKeyException for a key that the class has not registered
    Ref<CFType> valueForKey(std::string_view key);
    void setValue_forKey(CFType* value, std::string_view key);
    Ref<CFType> valueForKeyPath(std::string_view keyPath);
    void setValue_forKeyPath(CFType* value, std::string_view keyPath);
    virtual Ref<CFType> valueForUndefinedKey(std::string_view key);
    virtual void setValue_forUndefinedKey(CFType* value, std::string_view key);

    void willChangeValueForKey(std::string_view key);
    void didChangeValueForKey(std::string_view key);
    void addObserver_forKeyPath_options_context(
        NSObject* observer, std::string_view keyPath, unsigned options, const void* context);
    /// \throws NSException when \p observer does not observe \p keyPath
    void removeObserver_forKeyPath(NSObject* observer, std::string_view keyPath);
    void removeObserver_forKeyPath_context(NSObject* observer, std::string_view keyPath, const void* context);
    /// Told of each observed change; the base ignores it.
    virtual void observeValueForKeyPath_ofObject_change_context(
        CFString* keyPath, NSObject* object, CFDictionary* change, const void* context);

    /// Called once for each object of an interface file when all outlets of the file are set.
    virtual void awakeFromNib() { }

    std::string description() override;

private:
    std::unique_ptr<NSKeyValueObservations> mObservations;
    std::mutex mObservationsLock;
};

/// Brackets a change of one key between its will and did notifications.
class NSKeyValueChange {
public:
    NSKeyValueChange(NSObject* object, std::string_view key)
        : mObject(object)
        , mKey(key)
    {
        mObject->willChangeValueForKey(mKey);
    }
    ~NSKeyValueChange() { mObject->didChangeValueForKey(mKey); }
    NSKeyValueChange(const NSKeyValueChange&) = delete;
    NSKeyValueChange& operator=(const NSKeyValueChange&) = delete;

private:
    NSObject* mObject;
    std::string_view mKey;
};

#include "Platform/Foundation/NSClass.h"
