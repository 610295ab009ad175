#include "Platform/AVFoundation/AVAssetWriterPace.h"

#include <algorithm>
#include <array>

namespace {

/// So many pictures show what a step is like; the share of the time is a mean over about as many.
constexpr int fewestPictures = 10;
constexpr double newest = 1.0 / fewestPictures;
/// A gap of the camera is no time that the encoder has for the next picture.
constexpr double longestInterval = 0.1;

constexpr double tooMuch = 0.85;
constexpr double muchWhileOthersWait = 0.6;
/// What the next step up may be expected to take, for each step. Better compression may cost less than anybody notices;
/// pictures that are left out everybody notices.
constexpr std::array<double, 4> roomAbove { 0, 0.1, 0.5, 0.8 };

/// How many times as long the step above a step takes, by measurement: "superfast" against "ultrafast", that against
/// the same with fewer bits, and all pictures against every second one.
constexpr std::array<double, 4> costAbove { 1, 2.5, 1.5, 2 };

constexpr double patienceAtFirst = 3; // seconds with room before it takes a step up
constexpr double mostPatience = 60;
constexpr double patienceWithoutPictures = 1.0 / 3; // of that, while pictures are left out

}

AVAssetWriterPace::AVAssetWriterPace()
    : mPatience(patienceAtFirst)
{
}

bool AVAssetWriterPace::takesNext()
{
    mSkippedLast = mStep == CoarseAndHalf && !mSkippedLast;
    return !mSkippedLast;
}

void AVAssetWriterPace::pictureCame(double seconds, double interval, std::size_t waiting, std::size_t mostWaiting)
{
    if (interval <= 0)
        return;
    const double time = std::min(interval, longestInterval);
    ++mPictures;
    // A mean over the pictures that came since the change, until they are enough.
    mShare += (seconds / time - mShare) * std::max(newest, 1.0 / mPictures);
    mSecondsOfRoom = hasRoomAbove() && waiting <= 1 ? mSecondsOfRoom + time : 0;
    if (mPictures < fewestPictures)
        return;
    const bool othersWait = waiting * 2 >= mostWaiting;
    // As long as none have to wait, the encoder keeps up, however short it is of time.
    const bool isTooSlow = mStep == Coarse ? othersWait && mShare > tooMuch
                                           : mShare > tooMuch || (othersWait && mShare > muchWhileOthersWait);
    if (mStep < CoarseAndHalf && isTooSlow) {
        // A step up that did not last makes the next one wait longer.
        if (mWentUpLast)
            mPatience = std::min(mPatience * 2, mostPatience);
        mWentUpLast = false;
        changeTo(static_cast<Step>(mStep + 1));
    } else if (mStep > Careful
        && mSecondsOfRoom >= mPatience * (mStep == CoarseAndHalf ? patienceWithoutPictures : 1)) {
        mWentUpLast = true;
        changeTo(static_cast<Step>(mStep - 1));
    }
}

bool AVAssetWriterPace::hasRoomAbove() const
{
    return mShare * costAbove[mStep] < roomAbove[mStep];
}

void AVAssetWriterPace::changeTo(Step step)
{
    mStep = step;
    mShare = 0;
    mPictures = 0;
    mSecondsOfRoom = 0;
    mSkippedLast = false;
}
