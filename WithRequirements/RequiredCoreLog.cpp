#include "WithRequirements/RequiredCoreLog.h"

#include "Platform/CoreFoundation/CFStringEncoding.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSLog.h"

#include <cstdlib>
#include <mutex>

namespace {

/// The log queue; null before its construction and after its destruction. Not a `Ref`, whose own end at exit would come
/// in no known order with the lines of threads that still run.
constinit dispatch_queue_t sCFTypeRefOutputQueue = nullptr;
/// Only keeps the queue from going between being read and being retained.
constinit std::mutex sCFTypeRefOutputQueueLock;
constinit std::atomic<CFLogStringFn> sCFLogStringFn { nullptr };

Ref<dispatch_queue> outputQueue()
{
    const std::lock_guard guard(sCFTypeRefOutputQueueLock);
    return Ref<dispatch_queue>(sCFTypeRefOutputQueue);
}

bool isString(CFTypeRef object)
{
    return isPresent(object) && CFGetTypeID(object) == CFStringGetTypeID();
}

/// C strings are tested against the null object like everything else.
bool isPresentText(const void* text)
{
    return text && text != static_cast<const CFType*>(CFNull::shared());
}

const char* orEmpty(const char* text)
{
    return text ? text : "";
}

Ref<CFString> formatted(CFTypeRef format, const CFFormatArguments& arguments)
{
    if (!isString(format))
        return nullptr;
    return CFStringCreateWithFormatAndArguments(kindOf<CFString>(format), arguments);
}

void postFormatted(CFTypeRef format, const CFFormatArguments& arguments)
{
    __CFLogStringRefOnQueue(formatted(format, arguments).get());
}

}

void __CFLogErrorArguments(const RequiredSourceSite* site, CFTypeRef format, const CFFormatArguments& arguments)
{
    const auto message = formatted(format, arguments);
    if (!isString(message.get()))
        return;
    Ref<CFString> line(CFSTR(""));
    if (isPresentText(site)) {
        line = CFStringCreateWithFormat(CFSTR("%@ - %s in %s:%d (%s)"), message, orEmpty(site->source),
            orEmpty(site->file), site->line, orEmpty(site->function));
    }
    __CFLogStringRefOnQueue(line.get());
}

void __CFLogPrintfArguments(CFTypeRef format, const CFFormatArguments& arguments)
{
    postFormatted(format, arguments);
}

void __CFNSLogArguments(CFTypeRef format, const CFFormatArguments& arguments)
{
    postFormatted(format, arguments);
}

void __CFRequiredLogPrintfArguments(const char* prefix, const char* format, const CFFormatArguments& arguments)
{
    if (!isPresentText(prefix) || !isPresentText(format))
        return;
    postFormatted(CFStringCreateWithFormat(CFSTR("%s %s"), prefix, format).get(), arguments);
}

void __CFRequiredPrintfArguments(const char* format, const CFFormatArguments& arguments)
{
    if (isPresentText(format))
        postFormatted(CFStringCreateWithCString(kCFAllocatorDefault, format, kCFStringEncodingUTF8).get(), arguments);
}

void __CFRequiredLogString(const char* first, const char* second)
{
    if (isPresentText(first) && isPresentText(second))
        __CFLogPrintf(CFSTR("%s:%s"), first, second);
}

void __CFLogShowTypeRef(CFTypeRef object)
{
    const auto queue = outputQueue();
    if (!queue || !isPresent(object) || CFGetRetainCount(object) <= 0)
        return;
    dispatch_async(queue, [object = Ref(object)] { NSLog(CFSTR("%@"), object); });
}

void __CFLogStringRefOnQueue(CFTypeRef string)
{
    if (!isString(string))
        return;
    const auto queue = outputQueue();
    if (!queue)
        return;
    dispatch_async(queue, [string = Ref(kindOf<CFString>(string))] {
        if (const auto hook = sCFLogStringFn.load())
            hook(string);
        CFShow(string);
    });
}

void __CFLogSetLogStringFnPtr(CFLogStringFn function)
{
    sCFLogStringFn = function;
}

void __CFLogDrain()
{
    if (const auto queue = outputQueue())
        dispatch_sync(queue, [] {});
}

void RequiredCoreLogTypeRefConstructor()
{
    static std::once_flag once;
    std::call_once(once, [] {
        auto queue = dispatch_queue_create("sCFTypeRefOutputQueue", nullptr);
        const std::lock_guard guard(sCFTypeRefOutputQueueLock);
        sCFTypeRefOutputQueue = queue.leak();
    });
}

void RequiredCoreLogTypeRefDestructor()
{
    // Dropped outside the lock, by the end of this reference.
    Ref<dispatch_queue> last;
    const std::lock_guard guard(sCFTypeRefOutputQueueLock);
    if (sCFTypeRefOutputQueue)
        last = Ref<dispatch_queue>::adopt(std::exchange(sCFTypeRefOutputQueue, nullptr));
}

void __GLOBAL_init_65535()
{
    std::atexit(RequiredCoreLogTypeRefDestructor);
}
