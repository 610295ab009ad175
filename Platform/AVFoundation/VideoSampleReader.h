#pragma once

#include "Platform/AVFoundation/GStreamerTypes.h"
#include "Platform/AVFoundation/VideoFrameConverter.h"

#include <memory>
#include <optional>

/// Makes pictures in memory of what a camera delivers in one form. Used on the pipeline's thread only.
class VideoSampleReader {
public:
    /// The reader of samples with the given caps; null for a form that no reader knows, and caps that make no sense.
    static std::unique_ptr<VideoSampleReader> readerOf(const GstCaps* caps);
    /// What all readers together read.
    static constexpr const char* readableCaps = "video/x-raw; image/jpeg; video/x-h264";

    virtual ~VideoSampleReader() = default;
    /// Whether a sample builds on those before it, so that none may be left out.
    virtual bool needsEverySample() const { return false; }
    /// Whether samples with \p caps can follow what was read so far.
    virtual bool goesOnWith(const GstCaps* /*caps*/) const { return false; }
    struct Picture {
        VideoFrameConverter::Frame frame;
        std::int64_t hostTime;
    };
    /// Reads a sample. What it gives may belong to an earlier one, where the camera's form demands it.
    ///
    /// \param hostTime  when the sample was taken
    /// \return the picture, whose pixels are there until `finish`; nothing when there is none, or the sample is damaged
    virtual std::optional<Picture> read(GstSample* sample, std::int64_t hostTime) = 0;
    /// Lets go of the pixels.
    virtual void finish() { }
};
