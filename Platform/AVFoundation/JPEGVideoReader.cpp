#include "Platform/AVFoundation/JPEGVideoReader.h"

#include "Platform/AVFoundation/MappedBuffer.h"

namespace {

using Frame = VideoFrameConverter::Frame;
using Layout = VideoFrameConverter::Layout;

/// A damaged header can claim any size, and memory is taken for it.
constexpr std::int64_t mostPixels = 8192 * 4320;

}

bool JPEGVideoReader::goesOnWith(const GstCaps* caps) const
{
    return gst_structure_has_name(gst_caps_get_structure(caps, 0), mediaType);
}

std::optional<VideoSampleReader::Picture> JPEGVideoReader::read(GstSample* sample, std::int64_t hostTime)
{
    const MappedBuffer buffer(gst_sample_get_buffer(sample));
    const auto frame = decode(buffer.bytes());
    return frame ? std::optional(Picture { *frame, hostTime }) : std::nullopt;
}

std::optional<VideoFrameConverter::Frame> JPEGVideoReader::decode(std::span<const std::uint8_t> file)
{
    if (!mDecoder.LoadFrame(file.data(), file.size()))
        return std::nullopt;
    Frame frame;
    frame.dimensions = { mDecoder.GetWidth(), mDecoder.GetHeight() };
    frame.isFullRange = true;
    frame.matrix = VideoFrameConverter::Matrix::BT601;
    const int components = mDecoder.GetNumComponents();
    const int colours = mDecoder.GetColorSpace();
    const bool isRGB = components == 3 && colours == libyuv::MJpegDecoder::kColorSpaceRgb;
    const bool isKnown = isRGB || (components == 1 && colours == libyuv::MJpegDecoder::kColorSpaceGrayscale)
        || (components == 3 && colours == libyuv::MJpegDecoder::kColorSpaceYCbCr);
    if (!isKnown || static_cast<std::int64_t>(frame.dimensions.width) * frame.dimensions.height > mostPixels) {
        mDecoder.UnloadFrame();
        return std::nullopt;
    }
    std::array<std::uint8_t*, 3> planes {};
    for (int component = 0; component < components; ++component) {
        const auto index = static_cast<std::size_t>(component);
        mPlanes[index].resize(static_cast<std::size_t>(mDecoder.GetComponentSize(component)) + 64);
        planes[index] = mPlanes[index].data();
        frame.planes[index] = { planes[index], mDecoder.GetComponentWidth(component) };
        mHeights[index] = mDecoder.GetComponentHeight(component);
    }
    // Told by the header, which the library forgets once it has decoded.
    const auto known = layout();
    if (!mDecoder.DecodeToBuffers(planes.data(), frame.dimensions.width, frame.dimensions.height))
        return std::nullopt;
    if (known)
        frame.layout = *known;
    else
        widenColours(frame);
    if (isRGB)
        mergeColours(frame);
    return frame;
}

std::optional<VideoFrameConverter::Layout> JPEGVideoReader::layout()
{
    if (mDecoder.GetNumComponents() == 1)
        return Layout::I400;
    const auto sampling = [this](int component) {
        return std::pair(mDecoder.GetHorizSubSampFactor(component), mDecoder.GetVertSubSampFactor(component));
    };
    if (sampling(0) != std::pair(1, 1) || sampling(1) != sampling(2))
        return std::nullopt;
    if (sampling(1) == std::pair(1, 1))
        return Layout::I444;
    if (sampling(1) == std::pair(2, 1))
        return Layout::I422;
    return sampling(1) == std::pair(2, 2) ? std::optional(Layout::I420) : std::nullopt;
}

void JPEGVideoReader::widenColours(Frame& frame)
{
    const auto [width, height] = frame.dimensions;
    for (std::size_t index = 0; index < frame.planes.size(); ++index) {
        auto& plane = frame.planes[index];
        auto& wide = mWidened[index];
        wide.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) + 64);
        libyuv::ScalePlane(plane.data, plane.bytesPerRow, plane.bytesPerRow, mHeights[index], wide.data(), width, width,
            height, libyuv::kFilterNone);
        plane = { wide.data(), width };
    }
    frame.layout = Layout::I444;
}

void JPEGVideoReader::mergeColours(Frame& frame)
{
    const auto [width, height] = frame.dimensions;
    const auto& [red, green, blue] = frame.planes;
    mMerged.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4 + 64);
    libyuv::MergeARGBPlane(red.data, red.bytesPerRow, green.data, green.bytesPerRow, blue.data, blue.bytesPerRow,
        nullptr, 0, mMerged.data(), width * 4, width, height);
    frame.planes = { { { mMerged.data(), width * 4 }, {}, {} } };
    frame.layout = Layout::BGRA;
}
