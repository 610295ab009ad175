#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>

/// Learns from the stamps of a device's sound how fast the device's clock runs against the host's, and says how much
/// its sound is to be stretched so that it is heard when it was taken: a delay-locked loop. Times are in seconds.
///
/// Stamps tremble, and nearly always one way: sound that waited for its turn comes late, in bursts of some tens of
/// milliseconds, and never before it was taken. So of every half second the earliest stamp but one counts, which a
/// single wrong one does not move; a filter after Kalman, whose state is the offset and the rate, weighs it against
/// what was seen before. The stretch follows the filter slowly, so that nobody hears the pitch change: by at most a
/// twenty-thousandth within a second (people hear differences from a five-hundredth on).
///
/// A clock that agrees with the host's is left alone, so that its sound passes unchanged.
class SoundClock {
public:
    /// Takes the next run of sound into account.
    /// \param error  how much later its first frame was taken than it will be heard
    /// \param duration  of the run
    /// \return how far all that follows is to be moved, when for a second, or from the beginning, the sound has been in
    /// the wrong place by more than the stretch should put right; the loop has taken that into account
    std::optional<double> arrived(double error, double duration);
    /// The stretch for the next \p duration of sound: seconds that it gets longer in each.
    double stretch(double duration);
    /// What of that was done, since it goes by steps.
    void stretched(double stretch, double duration) { mStretchedBy += stretch * duration; }
    /// Sound goes on in the right place: what is known of the rate holds, the offset is none.
    void placed();
    /// An error that is not to be expected of this device: beyond it lies lost or repeated sound, or a long wait.
    bool isUnexpected(double error) const;

    /// The earliest of \p errors but one in thirty-two, and but one of three and more. Sorts them.
    static double earliest(std::span<double> errors);

private:
    void noteError(double error, double duration);
    std::optional<double> endWindow();
    void correct(double error, double deviation);

    // The window: one error for every few milliseconds of sound.
    std::array<double, 128> mErrors {};
    std::size_t mErrorCount = 0;
    double mPieceDuration = 0; ///< sound that the newest error stands for
    double mWindowDuration = 0;
    double mStretchedBy = 0; ///< within the window
    /// How far the errors of one window lie apart, at the most of late.
    double mSpread = 0.03;
    bool mIsFirstWindow = true; ///< since the sound was placed
    std::optional<double> mSuspect; ///< the last window's error, if it was too large to be believed

    // The filter: offset and rate with their covariances. At first a device may be wrong by a few ten-thousandths.
    double mOffset = 0;
    double mRate = 0;
    double mOffsetVariance = 25e-6;
    double mCovariance = 0;
    double mRateVariance = 90e-9;

    double mStretch = 0;
    bool mStretches = false;
};
