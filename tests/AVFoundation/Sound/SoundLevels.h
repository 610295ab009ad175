#pragma once

#include "Platform/AVFoundation/AVCaptureConnection.h"

/// The levels of each channel of a connection, in decibels.
inline std::vector<double> levels(const AVCaptureConnection& connection, double (AVCaptureAudioChannel::*level)() const)
{
    std::vector<double> result;
    for (const auto& channel : connection.audioChannels()->values())
        result.push_back((kindOf<AVCaptureAudioChannel>(channel)->*level)());
    return result;
}

inline std::vector<double> averageLevels(const AVCaptureConnection& connection)
{
    return levels(connection, &AVCaptureAudioChannel::averagePowerLevel);
}

inline std::vector<double> peakLevels(const AVCaptureConnection& connection)
{
    return levels(connection, &AVCaptureAudioChannel::peakHoldLevel);
}
