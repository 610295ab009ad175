#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// What libavformat and libavcodec, which had no part in making the file, find in a movie.
struct MovieContents {
    struct Packet {
        double time, duration; ///< seconds
        bool isKeyFrame;
    };
    struct Stream {
        std::string codec;
        double startTime = 0, duration = 0;
        std::vector<Packet> packets;
    };

    bool isReadable = false;
    double duration = 0;
    Stream picture, sound;
    int width = 0, height = 0;
    double rotation = 0; ///< degrees
    int primaries = 0, transfer = 0, matrix = 0, range = 0;
    int sampleRate = 0, channels = 0;
    std::vector<std::byte> soundBytes;
    std::size_t decodedPictures = 0;
    std::size_t decodingErrors = 0;
    /// The planes of the last decoded picture, without padding.
    std::array<std::vector<std::uint8_t>, 3> lastPlanes;
    /// The picture parameter sets that the pictures name, and how many name each.
    std::map<unsigned, std::size_t> pictureParameterSets;
    /// Brightness and the two colours in the middle of each decoded picture.
    std::vector<std::array<int, 3>> middles;
};

MovieContents readMovie(const std::string& path);

/// The types and sizes of a file's outermost boxes. A box that the file's end cuts off has type "????".
std::vector<std::pair<std::string, std::uint64_t>> readBoxes(const std::string& path);

std::vector<std::byte> readBytes(const std::string& path);
