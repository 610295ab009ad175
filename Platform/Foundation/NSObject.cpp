#include "Platform/Foundation/NSObject.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <cstdio>

Class NSObject::classObject()
{
    static const Class object = NSClassBuilder<NSObject>::build("NSObject", nullptr, [](auto& type) {
        type.message("addObserver:forKeyPath:options:context:", &NSObject::addObserver_forKeyPath_options_context);
        type.message("removeObserver:forKeyPath:", &NSObject::removeObserver_forKeyPath);
        type.message("removeObserver:forKeyPath:context:", &NSObject::removeObserver_forKeyPath_context);
        type.message("observeValueForKeyPath:ofObject:change:context:",
            &NSObject::observeValueForKeyPath_ofObject_change_context);
        type.message("awakeFromNib", &NSObject::awakeFromNib);
    });
    return object;
}

Class NSObject::isa() const
{
    return classObject();
}

bool NSObject::isKindOfClass(Class type) const
{
    return isa()->isSubclassOfClass(type);
}

bool NSObject::respondsToSelector(SEL selector) const
{
    return !FAIL_POINT("NSObject.respondsToSelector") && isa()->instancesRespondToSelector(selector);
}

Ref<CFType> NSObject::performSelector(SEL selector, CFType* argument)
{
    const auto* const invoker = isa()->message(selector);
    if (!invoker || !*invoker)
        throw NSException(NSInvalidArgumentException,
            "-[" + isa()->name() + " " + std::string(selector) + "]: message cannot be sent by name");
    return (*invoker)(*this, argument);
}

Ref<CFType> NSObject::valueForKey(std::string_view key)
{
    if (const auto* const found = isa()->key(key))
        return found->get(*this);
    if (const auto* const outlet = isa()->outlet(key))
        return outlet->get(*this);
    return valueForUndefinedKey(key);
}

void NSObject::setValue_forKey(CFType* value, std::string_view key)
{
    const auto* const found = isa()->key(key);
    if (found && found->set)
        found->set(*this, isPresent(value) ? value : nullptr);
    else if (const auto* const outlet = found ? nullptr : isa()->outlet(key))
        outlet->connect(*this, kindOf<NSObject>(value));
    else
        setValue_forUndefinedKey(value, key);
}

Ref<CFType> NSObject::valueForKeyPath(std::string_view keyPath)
{
    const auto dot = keyPath.find('.');
    auto value = valueForKey(keyPath.substr(0, dot));
    if (dot == std::string_view::npos)
        return value;
    auto* const next = kindOf<NSObject>(value);
    return next ? next->valueForKeyPath(keyPath.substr(dot + 1)) : nullptr;
}

void NSObject::setValue_forKeyPath(CFType* value, std::string_view keyPath)
{
    const auto dot = keyPath.find('.');
    if (dot == std::string_view::npos) {
        setValue_forKey(value, keyPath);
        return;
    }
    const auto object = valueForKey(keyPath.substr(0, dot));
    if (auto* const next = kindOf<NSObject>(object))
        next->setValue_forKeyPath(value, keyPath.substr(dot + 1));
}

Ref<CFType> NSObject::valueForUndefinedKey(std::string_view key)
{
    throw NSException(NSUndefinedKeyException,
        "[" + description() + " valueForUndefinedKey:]: this class has no key \"" + std::string(key) + "\"");
}

void NSObject::setValue_forUndefinedKey(CFType* /*value*/, std::string_view key)
{
    throw NSException(NSUndefinedKeyException,
        "[" + description() + " setValue:forUndefinedKey:]: this class has no key \"" + std::string(key)
            + "\" that can be set");
}

void NSObject::observeValueForKeyPath_ofObject_change_context(
    CFString* /*keyPath*/, NSObject* /*object*/, CFDictionary* /*change*/, const void* /*context*/)
{
}

std::string NSObject::description()
{
    char address[32];
    std::snprintf(address, sizeof address, ": %p>", static_cast<void*>(this));
    return "<" + isa()->name() + address;
}
