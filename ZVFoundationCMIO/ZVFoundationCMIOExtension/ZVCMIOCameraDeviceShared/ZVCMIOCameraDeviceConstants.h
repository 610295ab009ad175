#pragma once

#include "Platform/CoreFoundation/CFString.h"

#include <cstdint>

/// What the application and the camera extension must agree on. Each value is written here and nowhere else.

/// A size in pixels.
struct ZVCMIOCameraFrameSize {
    double width = 0;
    double height = 0;
};

inline constexpr ZVCMIOCameraFrameSize CMIOOutputViewController_CMIOExtension_FrameSize { 1280.0, 720.0 };
/// Frames a second.
inline constexpr std::uint64_t CMIOOutputViewController_CMIOExtension_FrameRate = 30;
/// Also the name of the camera's node, by which the host's programs remember it.
inline CFString* const CMIOOutputViewController_CMIOExtension_BundleIdentifier
    = CFSTR("org.tovrin.tovrin.09.CMIOExtension");
inline CFString* const CMIOOutputViewController_CMIOExtension_DeviceUUID
    = CFSTR("C7F6C893-F380-4B0C-B11A-CE0553A5F2DE");

/// 'just': through it the extension says whether anybody watches.
inline constexpr std::uint32_t kZVCMIOClientDeviceStreamingPropertyCode = 0x6A757374;
