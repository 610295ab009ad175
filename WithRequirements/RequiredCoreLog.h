#pragma once

#include "Platform/CoreFoundation/CFString.h"
#include "WithRequirements/RequiredSourceSite.h"

/// The diagnostic log: every line is built on the calling thread and written to standard error on one serial queue, so
/// lines never mix. Any thread may log at any time; nobody waits for the output and nothing here reports a failure.
///
/// Formats are the platform's string formats, where `%@` prints an object's description. They are taken as objects,
/// because a format that is null, the null object or no string is refused in silence.

using CFLogStringFn = void (*)(CFStringRef);

/// Posts the line of form "%@ - %s in %s:%d (%s)": the message, then the site's source, file, line and function, each
/// empty where it is null. With a null \p site the line is empty and the message is lost.
void __CFLogErrorArguments(const RequiredSourceSite* site, CFTypeRef format, const CFFormatArguments& arguments);
/// Posts the formatted text as it stands, with no location.
void __CFLogPrintfArguments(CFTypeRef format, const CFFormatArguments& arguments);
/// The same, step for step; it does not pass through `NSLog`.
void __CFNSLogArguments(CFTypeRef format, const CFFormatArguments& arguments);
/// Formats with "\p prefix \p format" joined by a blank and posts. A percent sign in the prefix is a conversion too.
void __CFRequiredLogPrintfArguments(const char* prefix, const char* format, const CFFormatArguments& arguments);
/// Formats with the text of a C string and posts; bytes that are not UTF-8 are no format.
void __CFRequiredPrintfArguments(const char* format, const CFFormatArguments& arguments);

template <class... A> void __CFLogError(const RequiredSourceSite* site, CFTypeRef format, const A&... arguments)
{
    __CFLogErrorArguments(site, format, CFFormatArguments { CFFormatArgument(arguments)... });
}
template <class... A> void __CFLogPrintf(CFTypeRef format, const A&... arguments)
{
    __CFLogPrintfArguments(format, CFFormatArguments { CFFormatArgument(arguments)... });
}
template <class... A> void __CFNSLog(CFTypeRef format, const A&... arguments)
{
    __CFNSLogArguments(format, CFFormatArguments { CFFormatArgument(arguments)... });
}
template <class... A> void __CFRequiredLogPrintf(const char* prefix, const char* format, const A&... arguments)
{
    __CFRequiredLogPrintfArguments(prefix, format, CFFormatArguments { CFFormatArgument(arguments)... });
}
template <class... A> void __CFRequiredPrintf(const char* format, const A&... arguments)
{
    __CFRequiredPrintfArguments(format, CFFormatArguments { CFFormatArgument(arguments)... });
}

/// Posts "first:second"; nothing if either is null.
void __CFRequiredLogString(const char* first, const char* second);
/// Posts the object itself; on the queue it goes out through `NSLog`.
void __CFLogShowTypeRef(CFTypeRef object);
/// Posts a string; ignores anything else. The string is kept until it is written.
void __CFLogStringRefOnQueue(CFTypeRef string);
/// Sets or clears the log hook. It is called on the log's queue with every line, before the line is written, and never
/// replaces the output. To be set before the first line.
void __CFLogSetLogStringFnPtr(CFLogStringFn function);

/// Waits until every line posted so far is written. For tests; nothing in the system waits for its log.
void __CFLogDrain();

/// Load-time steps 2 and 3; see LoadTimeInitialisers.h. The destructor runs when the process exits: lines posted after
/// it are dropped, and lines that still wait are not waited for.
void RequiredCoreLogTypeRefConstructor();
void RequiredCoreLogTypeRefDestructor();
void __GLOBAL_init_65535();
