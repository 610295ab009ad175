#pragma once

#include "TestPictures.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

typedef struct _XDisplay Display;

/// Reads from the screen which numbered pictures a program shows, wherever and how large its window shows them.
class ScreenWatcher {
public:
    /// Looks for the numbers on the screen.
    /// \throws std::runtime_error when the screen cannot be read or shows none
    ScreenWatcher();
    ~ScreenWatcher();
    ScreenWatcher(const ScreenWatcher&) = delete;
    ScreenWatcher& operator=(const ScreenWatcher&) = delete;

    /// The numbers seen since the last call.
    std::vector<std::uint32_t> takeNumbers();

private:
    /// One row of screen pixels, which the centres of the blocks lie on.
    struct Row {
        int y = 0;
        double x = 0; ///< where the first block begins
        double blockSize = 0;
    };
    struct Close {
        void operator()(Display* display) const;
    };

    std::vector<std::uint8_t> grab(int x, int y, int width, int height) const;
    std::optional<Row> find() const;
    void run();

    std::unique_ptr<Display, Close> mDisplay;
    Row mRow;
    std::mutex mLock;
    std::set<std::uint32_t> mNumbers;
    bool mIsEnding = false;
    std::thread mThread;
};
