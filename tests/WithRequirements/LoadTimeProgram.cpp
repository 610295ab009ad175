// Says what the library does before `main` and after it; the tests start it. Names none of the load-time steps: that
// they run is what is looked at.
//
//     load-time-program line     fails a check in main; one more after everything registered later has run at exit
//     load-time-program unread   fails many checks and ends at once, whoever reads them

#include "WithRequirements/Requirements.h"

#include <cstdlib>
#include <string_view>

namespace {

/// Runs before the library's own steps, so that what it registers for the exit comes after theirs.
[[gnu::constructor(101)]] void registerTheLastStep()
{
    std::atexit([] {
        CFRequired(false, "a line after the log's end");
        __CFLogShowTypeRef(CFSTR("an object after the log's end"));
        __CFLogDrain(); // does nothing once the log has ended
    });
}

}

int main(int count, char** arguments)
{
    const std::string_view mode = count > 1 ? arguments[1] : "";
    if (NSRequiredNotNSNullCachedValue != kCFNull)
        return 2;
    if (mode == "line") {
        CFRequired(false, "a line in main");
        __CFLogDrain();
        return 0;
    }
    if (mode == "unread") {
        for (int line = 0; line < 20000; ++line)
            __CFLogPrintf(CFSTR("line %d"), line);
        return 0;
    }
    return 3;
}
