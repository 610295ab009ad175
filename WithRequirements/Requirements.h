#pragma once

#include "Platform/CoreFoundation/CFString.h"
#include "WithRequirements/RequiredCoreFoundation.h"
#include "WithRequirements/RequiredCoreLog.h"
#include "WithRequirements/RequiredFileName.h"
#include "WithRequirements/RequiredFoundation.h"
#include "WithRequirements/RequiredStatusNames.h"

#include <functional>

/// The requirement checks. Each is an expression that is true when the requirement holds. When it does not, the check
/// writes its line to the log and is false; the code around it then takes its own failure path:
///
///     if (!CFRequired(captureFrameRateFPS > 0, "captureFrameRateFPS>0"))
///         return;
///
/// The last argument of each is optional: the text of the expression, where C++ spells it otherwise than the line is to
/// show it. It is given without the "SRC>>" that conditions and statuses get in front. Each check has a second form
/// whose name ends in `In` and whose first argument is the name of the function, for closures, in which the language's
/// own name says nothing.
///
/// A check that passes costs a comparison; it evaluates its argument once. All may be used on any thread.

namespace requiredCpp {

inline CFTypeRef objectOf(CFType* object) noexcept
{
    return object;
}
template <class T> CFTypeRef objectOf(const Ref<T>& object) noexcept
{
    return object.get();
}

inline const void* addressOf(const void* value) noexcept
{
    return value;
}
inline const void* addressOf(const CFType* object) noexcept
{
    return object;
}
template <class T> const void* addressOf(const Ref<T>& object) noexcept
{
    return static_cast<const CFType*>(object.get());
}
/// A closure has no address of its own to show; an empty one is null.
template <class F> const void* addressOf(const std::function<F>& closure) noexcept
{
    return closure ? &closure : nullptr;
}

inline bool isPresentAddress(const void* value) noexcept
{
    return value && value != static_cast<const CFType*>(CFNull::shared());
}

using StatusBody = void (*)(OSStatus, const char*, const char*, int, const char*);

inline bool condition(bool holds, const char* file, const char* function, int line, const char* source)
{
    if (holds) [[likely]]
        return true;
    __CFRequiredBody(file, function, line, source);
    return false;
}

template <StatusBody body>
bool status(OSStatus value, const char* file, const char* function, int line, const char* source)
{
    if (value == 0) [[likely]]
        return true;
    body(value, function, file, line, source);
    return false;
}

inline bool notNull(const void* value, const char* file, const char* function, int line, const char* source)
{
    if (isPresentAddress(value)) [[likely]]
        return true;
    __CFRequiredNotCFNullBody(value, file, function, line, source);
    return false;
}

inline bool typeOf(const char* tag, CFTypeRef object, CFTypeID expected, const char* file, const char* function,
    int line, const char* source)
{
    if (isPresent(object) && CFGetTypeID(object) == expected) [[likely]]
        return true;
    __CFRequiredTypeOfBody(tag, object, expected, file, function, line, source);
    return false;
}

inline bool dispatchObject(const void* value, const char* file, const char* function, int line, const char* source)
{
    if (value) [[likely]]
        return true;
    __DispatchRequiredBody("REQUIRED_DISPATCH", value, file, function, line, source);
    return false;
}

inline bool block(
    const char* tag, const void* value, const char* file, const char* function, int line, const char* source)
{
    if (value) [[likely]]
        return true;
    __BlockPtrRequiredBody(tag, value, file, function, line, source);
    return false;
}

inline bool errorNil(CFTypeRef error, const char* file, const char* function, int line, const char* source)
{
    if (!error) [[likely]]
        return true;
    __NSRequiredNSErrorNilBody(error, file, function, line, source);
    return false;
}

inline bool notNil(CFTypeRef object, const char* file, const char* function, int line, const char* source)
{
    if (object && object != NSRequiredNotNSNullCachedValue) [[likely]]
        return true;
    __NSRequiredNotNilBody(object, file, function, line, source);
    return false;
}

inline bool kindOfClass(const char* tag, CFTypeRef object, Class required, const char* file, const char* function,
    int line, const char* source)
{
    if (isKindOfClass(object, required)) [[likely]]
        return true;
    __NSRequiredKindOfClassBody(tag, object, required, file, function, line, source);
    return false;
}

inline bool delegateSelector(const char* tag, CFTypeRef object, SEL selector, const char* file, const char* function,
    int line, const char* source)
{
    if (delegateRespondsToSelector(object, selector)) [[likely]]
        return true;
    __NSRequiredDelegateSelectorBody(tag, object, selector, file, function, line, source);
    return false;
}

template <class Call>
bool noException(const Call& call, const char* file, const char* function, int line, const char* source)
{
    try {
        call();
        return true;
    } catch (const NSException& exception) {
        __NSRequiredNoExceptionBody(exception, function, file, line, source);
        return false;
    }
}

inline bool openGL(std::int32_t error, const char* file, const char* function, int line)
{
    if (error == 0) [[likely]]
        return true;
    __GLRequiredBody(error, file, function, line);
    return false;
}

}

/// The base name of the file, for code that calls a body directly.
#define REQUIRED_FILE ::requiredCpp::baseName(__FILE__, sizeof(__FILE__))

#define REQUIRED_FIRST_OF(first, ...) first
/// The text of an expression whose macros are replaced already.
#define REQUIRED_WRITTEN(...) #__VA_ARGS__
/// The given text if there is one, else the expression as it is written.
#define REQUIRED_TEXT(expression, ...) REQUIRED_FIRST_OF(__VA_ARGS__ __VA_OPT__(, ) REQUIRED_WRITTEN(expression), "")
#define REQUIRED_STATUS_IN(body, name, value, ...)                                                                     \
    ::requiredCpp::status<body>((value), REQUIRED_FILE, (name), __LINE__, "SRC>>" __VA_ARGS__)

/// A condition is true.
#define CFRequired(expression, ...) CFRequiredIn(__func__, expression __VA_OPT__(, ) __VA_ARGS__)
#define CFRequiredIn(name, expression, ...)                                                                            \
    ::requiredCpp::condition(static_cast<bool>(expression), REQUIRED_FILE, (name), __LINE__,                           \
        "SRC>>" REQUIRED_TEXT(expression __VA_OPT__(, ) __VA_ARGS__))

/// A status is 0. The kinds differ in whose codes they know by name.
#define OSStatusRequired(value, ...) OSStatusRequiredIn(__func__, value __VA_OPT__(, ) __VA_ARGS__)
#define OSStatusRequiredIn(name, value, ...)                                                                           \
    REQUIRED_STATUS_IN(__OSStatusRequiredBody, name, value, REQUIRED_TEXT(value __VA_OPT__(, ) __VA_ARGS__))
#define CoreMediaOSStatusRequired(value, ...) CoreMediaOSStatusRequiredIn(__func__, value __VA_OPT__(, ) __VA_ARGS__)
#define CoreMediaOSStatusRequiredIn(name, value, ...)                                                                  \
    REQUIRED_STATUS_IN(__CoreMediaOSStatusRequiredBody, name, value, REQUIRED_TEXT(value __VA_OPT__(, ) __VA_ARGS__))
#define VideoToolboxRequired(value, ...) VideoToolboxRequiredIn(__func__, value __VA_OPT__(, ) __VA_ARGS__)
#define VideoToolboxRequiredIn(name, value, ...)                                                                       \
    REQUIRED_STATUS_IN(__VideoToolboxRequiredBody, name, value, REQUIRED_TEXT(value __VA_OPT__(, ) __VA_ARGS__))
#define CMIOStatusRequired(value, ...) CMIOStatusRequiredIn(__func__, value __VA_OPT__(, ) __VA_ARGS__)
#define CMIOStatusRequiredIn(name, value, ...)                                                                         \
    REQUIRED_STATUS_IN(__CoreMediaIOStatusRequiredBody, name, value, REQUIRED_TEXT(value __VA_OPT__(, ) __VA_ARGS__))
#define CoreVideoRequired(value, ...) CoreVideoRequiredIn(__func__, value __VA_OPT__(, ) __VA_ARGS__)
#define CoreVideoRequiredIn(name, value, ...)                                                                          \
    REQUIRED_STATUS_IN(__CoreVideoRequiredBody, name, value, REQUIRED_TEXT(value __VA_OPT__(, ) __VA_ARGS__))
#define CGErrorRequired(value, ...) CGErrorRequiredIn(__func__, value __VA_OPT__(, ) __VA_ARGS__)
#define CGErrorRequiredIn(name, value, ...)                                                                            \
    REQUIRED_STATUS_IN(__CoreGraphicsCGErrorRequiredBody, name, value, REQUIRED_TEXT(value __VA_OPT__(, ) __VA_ARGS__))
#define CGLErrorRequired(value, ...) CGLErrorRequiredIn(__func__, value __VA_OPT__(, ) __VA_ARGS__)
#define CGLErrorRequiredIn(name, value, ...)                                                                           \
    REQUIRED_STATUS_IN(__CGLErrorRequiredBody, name, value, REQUIRED_TEXT(value __VA_OPT__(, ) __VA_ARGS__))
/// An error code of OpenGL is 0. Its line shows no text.
#define GLRequired(error) GLRequiredIn(__func__, error)
#define GLRequiredIn(name, error) ::requiredCpp::openGL((error), REQUIRED_FILE, (name), __LINE__)

/// An object is there and is of the type of the identifier.
#define CFRequiredTypeOf(object, type, ...) CFRequiredTypeOfIn(__func__, object, type __VA_OPT__(, ) __VA_ARGS__)
#define CFRequiredTypeOfIn(name, object, type, ...)                                                                    \
    CFRequiredTypeTaggedIn("REQUIRED_CFTYPEOF", name, object, type, REQUIRED_TEXT(object __VA_OPT__(, ) __VA_ARGS__))
/// The same with another word at the start of the line.
#define CFRequiredTypeRef(object, type, ...)                                                                           \
    CFRequiredTypeTaggedIn(                                                                                            \
        "REQUIRED_CFTYPEREF", __func__, object, type, REQUIRED_TEXT(object __VA_OPT__(, ) __VA_ARGS__))
#define CFRequiredTypeTaggedIn(tag, name, object, type, text)                                                          \
    ::requiredCpp::typeOf((tag), ::requiredCpp::objectOf(object), (type), REQUIRED_FILE, (name), __LINE__, text)

/// A reference or an address is neither null nor the null object.
#define CFRequiredNotCFNull(value, ...) CFRequiredNotCFNullIn(__func__, value __VA_OPT__(, ) __VA_ARGS__)
#define CFRequiredNotCFNullIn(name, value, ...)                                                                        \
    ::requiredCpp::notNull(::requiredCpp::addressOf(value), REQUIRED_FILE, (name), __LINE__,                           \
        REQUIRED_TEXT(value __VA_OPT__(, ) __VA_ARGS__))

/// A queue or a source was created.
#define DispatchRequired(value, ...) DispatchRequiredIn(__func__, value __VA_OPT__(, ) __VA_ARGS__)
#define DispatchRequiredIn(name, value, ...)                                                                           \
    ::requiredCpp::dispatchObject(::requiredCpp::addressOf(value), REQUIRED_FILE, (name), __LINE__,                    \
        REQUIRED_TEXT(value __VA_OPT__(, ) __VA_ARGS__))

// The checks below belong to the library and nothing in the system uses them yet. Where the line starts with a word of
// the caller's, that comes first.

/// A closure is not null.
#define BlockPtrRequired(tag, value, ...) BlockPtrRequiredIn(__func__, tag, value __VA_OPT__(, ) __VA_ARGS__)
#define BlockPtrRequiredIn(name, tag, value, ...)                                                                      \
    ::requiredCpp::block((tag), ::requiredCpp::addressOf(value), REQUIRED_FILE, (name), __LINE__,                      \
        REQUIRED_TEXT(value __VA_OPT__(, ) __VA_ARGS__))

/// A call left its error null.
#define NSRequiredNSErrorNil(error, ...) NSRequiredNSErrorNilIn(__func__, error __VA_OPT__(, ) __VA_ARGS__)
#define NSRequiredNSErrorNilIn(name, error, ...)                                                                       \
    ::requiredCpp::errorNil(::requiredCpp::objectOf(error), REQUIRED_FILE, (name), __LINE__,                           \
        REQUIRED_TEXT(error __VA_OPT__(, ) __VA_ARGS__))

/// An object is neither null nor the null object.
#define NSRequiredNotNil(object, ...) NSRequiredNotNilIn(__func__, object __VA_OPT__(, ) __VA_ARGS__)
#define NSRequiredNotNilIn(name, object, ...)                                                                          \
    ::requiredCpp::notNil(::requiredCpp::objectOf(object), REQUIRED_FILE, (name), __LINE__,                            \
        REQUIRED_TEXT(object __VA_OPT__(, ) __VA_ARGS__))

/// An object is of a class.
#define NSRequiredKindOfClass(tag, object, type, ...)                                                                  \
    NSRequiredKindOfClassIn(__func__, tag, object, type __VA_OPT__(, ) __VA_ARGS__)
#define NSRequiredKindOfClassIn(name, tag, object, type, ...)                                                          \
    ::requiredCpp::kindOfClass((tag), ::requiredCpp::objectOf(object), (type), REQUIRED_FILE, (name), __LINE__,        \
        REQUIRED_TEXT(object __VA_OPT__(, ) __VA_ARGS__))

/// An object has a delegate that answers a message.
#define NSRequiredDelegateSelector(tag, object, selector, ...)                                                         \
    NSRequiredDelegateSelectorIn(__func__, tag, object, selector __VA_OPT__(, ) __VA_ARGS__)
#define NSRequiredDelegateSelectorIn(name, tag, object, selector, ...)                                                 \
    ::requiredCpp::delegateSelector((tag), ::requiredCpp::objectOf(object), (selector), REQUIRED_FILE, (name),         \
        __LINE__, REQUIRED_TEXT(object __VA_OPT__(, ) __VA_ARGS__))

/// An expression raises no exception of the host's. Another kind of exception passes.
#define NSRequiredNoException(expression, ...) NSRequiredNoExceptionIn(__func__, expression __VA_OPT__(, ) __VA_ARGS__)
#define NSRequiredNoExceptionIn(name, expression, ...)                                                                 \
    ::requiredCpp::noException([&] { static_cast<void>(expression); }, REQUIRED_FILE, (name), __LINE__,                \
        REQUIRED_TEXT(expression __VA_OPT__(, ) __VA_ARGS__))
