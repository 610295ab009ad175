#include "Platform/Foundation/NSLog.h"

#include <cstdio>
#include <ctime>

#include <errno.h>
#include <sys/time.h>
#include <unistd.h>

void NSLogArguments(CFString* format, const CFFormatArguments& arguments)
{
    timeval now {};
    ::gettimeofday(&now, nullptr);
    tm local {};
    ::localtime_r(&now.tv_sec, &local);
    char date[64];
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &local);
    char head[160];
    std::snprintf(head, sizeof head, "%s.%03d %s[%d:%d] ", date, static_cast<int>(now.tv_usec / 1000),
        program_invocation_short_name, static_cast<int>(::getpid()), static_cast<int>(::gettid()));
    auto text = CFFormat(textOf(format), arguments);
    if (text.ends_with('\n'))
        text.pop_back();
    CFShow(CFString::create(head + text).get());
}
