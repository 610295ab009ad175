#include "Platform/AVFoundation/VideoSampleReader.h"

#include "Platform/AVFoundation/H264VideoReader.h"
#include "Platform/AVFoundation/JPEGVideoReader.h"
#include "Platform/AVFoundation/RawVideoReader.h"

std::unique_ptr<VideoSampleReader> VideoSampleReader::readerOf(const GstCaps* caps)
{
    const GstStructure* const structure = gst_caps_get_structure(caps, 0);
    if (gst_structure_has_name(structure, JPEGVideoReader::mediaType))
        return std::make_unique<JPEGVideoReader>();
    if (gst_structure_has_name(structure, H264VideoReader::mediaType))
        return H264VideoReader::readerOf(caps);
    return RawVideoReader::readerOf(caps);
}
