#pragma once

#include <cstddef>

/// Decides how much work the encoder may put into a picture, from how long the last ones took.
///
/// Pictures come at their own times and nobody waits for the encoder, so one that is too slow loses them. It gives up
/// quality first and every second picture last, a step at a time, and takes back what it gave up when there has been
/// room for it for a while. Belongs to one thread at a time.
class AVAssetWriterPace {
public:
    enum Step : int {
        Careful = 0, ///< better compression, where it costs next to nothing
        Fast = 1, ///< where every movie begins
        Coarse = 2, ///< fewer bits to write
        CoarseAndHalf = 3, ///< and every second picture only
    };

    AVAssetWriterPace();

    Step step() const noexcept { return mStep; }
    /// Whether the next picture is to be encoded; asked once for each, in turn.
    bool takesNext();
    /// Notes a picture that came, encoded or not.
    /// \param seconds  for which the encoder worked on it; 0 when it was not taken
    /// \param interval  seconds since the picture before, by their stamps
    /// \param waiting  pictures that wait behind it
    /// \param mostWaiting  how many can
    void pictureCame(double seconds, double interval, std::size_t waiting, std::size_t mostWaiting);
    /// The part of the time for which the encoder has worked of late: 1 and more when it cannot keep up.
    double share() const noexcept { return mShare; }

private:
    void changeTo(Step step);
    bool hasRoomAbove() const;

    Step mStep = Fast;
    double mShare = 0;
    int mPictures = 0; ///< since the last change
    double mSecondsOfRoom = 0;
    double mPatience;
    bool mWentUpLast = false;
    bool mSkippedLast = false;
};
