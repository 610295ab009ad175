// Records drawn pictures and sound: recorder PATH SECONDS FILE-SIZE-LIMIT REAL-TIME(0|1) [WIDTH HEIGHT]. Says
// "recorded" after each tenth of a second and, at the end, whether an append failed, why, what finishing answered and
// how long it took.

#include "Recording.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>
#include <thread>

int main(int count, char** arguments)
{
    if (count != 5 && count != 7 && count != 8)
        return 2;
    const double seconds = std::atof(arguments[2]);
    if (const auto limit = std::strtoull(arguments[3], nullptr, 10)) {
        const rlimit sizes { limit, limit };
        ::setrlimit(RLIMIT_FSIZE, &sizes);
        std::signal(SIGXFSZ, SIG_IGN);
    }
    const bool inRealTime = std::atoi(arguments[4]) != 0;

    const int width = count >= 7 ? std::atoi(arguments[5]) : 640;
    const int height = count >= 7 ? std::atoi(arguments[6]) : 360;
    Recording recording(arguments[1], width, height, inRealTime);
    if (!recording.beginWithBoth())
        return 3;
    bool isWritten = true;
    const auto begin = std::chrono::steady_clock::now();
    for (int tenth = 0; tenth < seconds * 10 && isWritten; ++tenth) {
        isWritten = recording.appendSeconds(0.1);
        if (inRealTime)
            std::this_thread::sleep_until(begin + std::chrono::milliseconds(100 * (tenth + 1)));
        std::puts("recorded");
        std::fflush(stdout);
    }
    std::printf("status %d error %s\n", static_cast<int>(recording.writer->status()), recording.errorText().c_str());
    if (count == 8)
        FailPoint::arm("AVAssetWriter.writeSlowly", std::atoi(arguments[7]), 0, 1);
    const auto before = std::chrono::steady_clock::now();
    const bool isFinished = recording.writer->finishWriting();
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - before;
    std::printf("finished %d\ntook %.1f ms\n", isFinished, taken.count());
    return 0;
}
