#pragma once

#include "Platform/CoreMedia/CMFormatDescription.h"
#include "Platform/Foundation/NSError.h"

#include <cstdint>
#include <vector>

/// Takes what the source of one device brings. Called on the source's own thread, between `start` and the end of
/// `stop`.
class CaptureSink {
public:
    virtual ~CaptureSink() = default;
    /// The size that pictures are to have; zeros leave it to the device.
    virtual CMVideoDimensions requestedDimensions() const = 0;
    /// The size that the camera is asked for when it offers several.
    virtual CMVideoDimensions preferredDimensions() const = 0;
    /// Asked once for each picture before anything is spent on it; after true, `pictureCame` or `pictureFailed`
    /// follows.
    virtual bool admitPicture() = 0;
    /// \param hostTime  when it was taken, in nanoseconds of the host clock
    /// \param duration  nanoseconds to the next one, or 0 where that is not known
    virtual void pictureCame(Ref<CVPixelBuffer> picture, std::int64_t hostTime, std::int64_t duration) = 0;
    virtual void pictureFailed() = 0;
    /// \param samples  interleaved as `AVCaptureAudioDataOutput` promises
    /// \param hostTime  when the first of them was taken
    virtual void soundCame(std::vector<std::byte> samples, std::int64_t hostTime) = 0;
    /// The device brings nothing more.
    virtual void sourceFailed(Ref<NSError> error) = 0;
};

/// Opens one device and brings its samples. `start` and `stop` are called on one queue; both may take their time.
class CaptureSource {
public:
    virtual ~CaptureSource() = default;
    /// \return null when the device is open or will tell by `sourceFailed` that it cannot be
    virtual Ref<NSError> start() = 0;
    /// Brings nothing more once it has returned.
    virtual void stop() = 0;
    /// Has a `start` that still runs on another thread return as soon as it can; `stop` follows.
    ///
    /// \return whether the device is free for others at once, however long `start` takes
    virtual bool interrupt() { return false; }
};
