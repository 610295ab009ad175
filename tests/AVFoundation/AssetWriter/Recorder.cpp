// Records drawn pictures and sound: recorder PATH SECONDS FILE-SIZE-LIMIT REAL-TIME(0|1). Says "recorded" after each
// tenth of a second and, at the end, whether an append failed, why, and what finishing answered.

#include "Recording.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

int main(int count, char** arguments)
{
    if (count != 5)
        return 2;
    const double seconds = std::atof(arguments[2]);
    if (const auto limit = std::strtoull(arguments[3], nullptr, 10)) {
        const rlimit sizes { limit, limit };
        ::setrlimit(RLIMIT_FSIZE, &sizes);
        std::signal(SIGXFSZ, SIG_IGN);
    }
    const bool inRealTime = std::atoi(arguments[4]) != 0;

    Recording recording(arguments[1], 640, 360);
    if (!recording.beginWithBoth())
        return 3;
    bool isWritten = true;
    for (int tenth = 0; tenth < seconds * 10 && isWritten; ++tenth) {
        isWritten = recording.appendSeconds(0.1);
        if (inRealTime)
            ::usleep(100'000);
        std::puts("recorded");
        std::fflush(stdout);
    }
    std::printf("status %d error %s\n", static_cast<int>(recording.writer->status()), recording.errorText().c_str());
    std::printf("finished %d\n", recording.writer->finishWriting());
    return 0;
}
