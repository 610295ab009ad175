#pragma once

#include <ctime>

/// Processor time that this process has used so far, all threads together, in milliseconds.
inline double processorMilliseconds()
{
    timespec time {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}
