// tovrin-encoder-probe NAME DEVICE: ends with 0 when libavcodec's encoder NAME encodes a picture on this machine; else
// it says why not.

#include "Platform/AVFoundation/AVAssetWriterHardware.h"

#include <cstdio>

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fputs("usage: tovrin-encoder-probe NAME DEVICE\n", stderr);
        return 2;
    }
    const auto reason = AVAssetWriterHardware::tryOne({ arguments[1], arguments[2] });
    if (!reason.empty())
        std::fprintf(stderr, "%s\n", reason.c_str());
    return reason.empty() ? 0 : 1;
}
