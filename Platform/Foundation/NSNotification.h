#pragma once

#include "Platform/Foundation/NSObject.h"

#include <functional>
#include <mutex>

class NSOperationQueue;

using NSNotificationName = CFString*;

/// One posted event: its name, the object that it is about, and more by key.
class NSNotification : public NSObject {
    NS_OBJECT(NSNotification)
public:
    NSNotification(CFString* name, CFType* object, CFDictionary* userInfo);
    CFString* name() const { return mName; }
    CFType* object() const { return mObject; }
    CFDictionary* userInfo() const { return mUserInfo; }

private:
    const Ref<CFString> mName;
    const Ref<CFType> mObject;
    const Ref<CFDictionary> mUserInfo;
};

/// Hands posted notifications to those who asked for them, at once, on the posting thread, in the order in which they
/// asked. Observers are held weakly and forgotten when they die. Any thread may use it.
class NSNotificationCenter : public NSObject {
    NS_OBJECT(NSNotificationCenter)
public:
    static NSNotificationCenter* defaultCenter();

    /// Sends \p selector (one argument, the notification) to \p observer for every notification of this name (null: of
    /// any name) about \p object (null: about any).
    void addObserver_selector_name_object(NSObject* observer, SEL selector, CFString* name, CFType* object);
    /// Runs \p block for every such notification: on the main queue for the main operation queue (at once when posted
    /// on the main thread), on the posting thread for null. The centre holds the block until the returned token is
    /// removed as an observer.
    Ref<NSObject> addObserverForName_object_queue_usingBlock(
        CFString* name, CFType* object, NSOperationQueue* queue, std::function<void(NSNotification*)> block);
    void removeObserver(NSObject* observer);
    void removeObserver_name_object(NSObject* observer, CFString* name, CFType* object);
    void postNotificationName_object(CFString* name, CFType* object);
    void postNotificationName_object_userInfo(CFString* name, CFType* object, CFDictionary* userInfo);

private:
    struct Entry {
        WeakRef<NSObject> observer;
        const NSObject* identity;
        std::string selector;
        Ref<CFString> name;
        const CFType* object;
        Ref<NSObject> owned; ///< the token of a block
    };
    std::mutex mLock;
    std::vector<Entry> mEntries;
};
