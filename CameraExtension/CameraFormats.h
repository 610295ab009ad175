#pragma once

#include "CameraExtension/PixelConversion.h"

#include <optional>
#include <vector>

#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

/// The camera's formats in PipeWire's terms.
namespace CameraFormats {

/// In the order of preference. The first consumer that takes anything settles the format for all, so those that
/// browsers take come first.
inline constexpr CameraPixelFormat kOffered[] = { CameraPixelFormat::I420, CameraPixelFormat::NV12,
    CameraPixelFormat::YUY2, CameraPixelFormat::BGRA, CameraPixelFormat::BGRx };

/// One format with fixed values only: programs skip entries that leave a choice.
/// \param parameter  SPA_PARAM_EnumFormat or SPA_PARAM_Format
const spa_pod* build(spa_pod_builder& builder, std::uint32_t parameter, CameraPixelFormat format, std::uint32_t width,
    std::uint32_t height, std::uint32_t framesPerSecond);
/// The settled format; nothing when it is none of ours.
std::optional<CameraPixelFormat> parse(const spa_pod* format);
/// What the buffers look like: one block in one descriptor, with a header.
std::vector<const spa_pod*> buildBufferParameters(
    spa_pod_builder& builder, CameraPixelFormat format, std::uint32_t width, std::uint32_t height);

}
