#include "WithRequirements/RequiredFoundation.h"

#include "WithRequirements/RequiredCoreLog.h"

constinit NSNull* NSRequiredNotNSNullCachedValue = nullptr;

void NSRequiredNotNSNullCachedValueConstructor()
{
    NSRequiredNotNSNullCachedValue = NSNull::shared();
}

namespace {

/// The class's name for objects with a class, the type's for the others, "(nil)" for nil.
std::string classNameOf(CFTypeRef object)
{
    if (!object)
        return "(nil)";
    if (object == NSRequiredNotNSNullCachedValue)
        return "NSNull";
    if (const auto* const withClass = kindOf<NSObject>(object))
        return withClass->isa()->name();
    const auto name = CFCopyTypeIDDescription(CFGetTypeID(object));
    return name ? name->string() : std::string("?");
}

Ref<CFType> delegateOf(CFTypeRef object)
{
    auto* const withDelegate = kindOf<NSObject>(object);
    if (!withDelegate || !withDelegate->respondsToSelector("delegate"))
        return nullptr;
    return withDelegate->performSelector("delegate");
}

}

bool requiredCpp::isKindOfClass(CFTypeRef object, Class required)
{
    const auto* const withClass = kindOf<NSObject>(object);
    return withClass && required && withClass->isKindOfClass(required);
}

bool requiredCpp::delegateRespondsToSelector(CFTypeRef object, SEL selector)
{
    const auto delegate = delegateOf(object);
    const auto* const withMessages = kindOf<NSObject>(delegate);
    return withMessages && withMessages->respondsToSelector(selector);
}

void __NSRequiredNSErrorNilBody(CFTypeRef error, const char* file, const char* function, int line, const char* source)
{
    const RequiredSourceSite site { file, function, line, source };
    __CFLogError(&site, CFSTR("REQUIRED_NSERROR_NIL %@"), error);
}

void __NSRequiredNotNilBody(CFTypeRef object, const char* file, const char* function, int line, const char* source)
{
    const RequiredSourceSite site { file, function, line, source };
    const auto name = CFString::create(classNameOf(object));
    const auto text
        = CFStringCreateWithFormat(CFSTR("%@==%s"), name, object == NSRequiredNotNSNullCachedValue ? "NSNull" : "nil");
    __CFLogError(&site, CFSTR("REQUIRED_NOT_NIL %@"), text);
}

void __NSRequiredKindOfClassBody(const char* tag, CFTypeRef object, Class required, const char* file,
    const char* function, int line, const char* source)
{
    const RequiredSourceSite site { file, function, line, source };
    const auto text = CFStringCreateWithFormat(
        CFSTR("[%@ isKindOfClass:%@] FAILED"), CFString::create(classNameOf(object)), NSStringFromClass(required));
    __CFLogError(&site, CFSTR("%s %@"), tag, text);
}

void __NSRequiredDelegateSelectorBody(const char* tag, CFTypeRef object, SEL selector, const char* file,
    const char* function, int line, const char* source)
{
    const RequiredSourceSite site { file, function, line, source };
    const auto text = CFStringCreateWithFormat(CFSTR("%@.delegate=%@ has no @selector(%@)"),
        CFString::create(classNameOf(object)), delegateOf(object), CFString::create(selector));
    __CFLogError(&site, CFSTR("%s %@"), tag, text);
}

void __NSRequiredNoExceptionBody(
    const NSException& exception, const char* function, const char* file, int line, const char* source)
{
    const RequiredSourceSite site { file, function, line, source };
    __CFLogError(&site, CFSTR("REQUIRED_NO_EXCEPTION NSException{ %@ }"), CFString::create(exception.reason()));
}
