#pragma once

#include <cstdint>

/// Watches how fast a camera's pictures come, and keeps every second, third... of one that delivers much faster than it
/// was asked to. What comes more slowly, for example because the camera exposes longer in the dark, is kept as it is.
class VideoFramePace {
public:
    /// \param wantedInterval  nanoseconds from picture to picture that the camera was asked for
    explicit VideoFramePace(std::int64_t wantedInterval)
        : mWanted(wantedInterval)
    {
    }

    /// Begins anew. \param promisedInterval  nanoseconds from picture to picture as the camera tells them, or 0
    void begin(std::int64_t promisedInterval);
    /// Notes a picture. \return whether it is one to keep
    bool takes(std::int64_t hostTime);
    /// Nanoseconds from one kept picture to the next: as the camera promised while it holds to that, otherwise as the
    /// recent ones came; 0 where neither is known.
    std::int64_t interval() const;

private:
    std::int64_t keptOutOf() const;

    const std::int64_t mWanted;
    std::int64_t mLast = 0; ///< the time of the picture before, 0 for none
    std::int64_t mPromised = 0;
    std::int64_t mAverage = 0;
    std::int64_t mSkipped = 0; ///< pictures since the last one kept
};
