#pragma once

#include "Platform/Foundation/NSProcessInfo.h"

/// The version of the operating system: the host's record, and one number of it, major times 100 plus minor times 10
/// plus patch.
///
/// The scheme is not monotonic: 10.15 gives 1150, which is above 11.0 at 1100. It is kept so.

inline constexpr std::uint32_t ZVOperatingSystemVersion_MacOS_10_8 = 1080;
inline constexpr std::uint32_t ZVOperatingSystemVersion_MacOS_10_15 = 1150;
inline constexpr std::uint32_t ZVOperatingSystemVersion_MacOS_11_0 = 1100;
inline constexpr std::uint32_t ZVOperatingSystemVersion_MacOS_12_0 = 1200;
inline constexpr std::uint32_t ZVOperatingSystemVersion_MacOS_13_0 = 1300;
inline constexpr std::uint32_t ZVOperatingSystemVersion_MacOS_14_0 = 1400;

/// The number of a record, from the low 32 bits of each field.
constexpr std::uint32_t ZVOperatingSystemVersion_Number(const NSOperatingSystemVersion& version)
{
    return static_cast<std::uint32_t>(version.majorVersion) * 100
        + static_cast<std::uint32_t>(version.minorVersion) * 10 + static_cast<std::uint32_t>(version.patchVersion);
}

/// Reads the system's version file, which knows no patch. All ones on success, 0 on failure.
std::uint32_t ZVOperatingSystemVersion_GetCoreFoundation(NSOperatingSystemVersion* record);
/// Asks the process's information where it answers, else the version file. All ones on success, 0 on failure.
std::uint32_t ZVOperatingSystemVersion_GetFoundation(NSOperatingSystemVersion* record);

/// The record, filled once in the process; all zero if that failed. From any thread.
NSOperatingSystemVersion ZVOperatingSystemVersion_GetCurrentStruct();
/// The number of the same record. From any thread.
std::uint32_t ZVOperatingSystemVersion_GetCurrent();
