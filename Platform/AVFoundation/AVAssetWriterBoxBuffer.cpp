#include "Platform/AVFoundation/AVAssetWriterBoxBuffer.h"

void AVAssetWriterBoxBuffer::text(std::string_view text)
{
    bytes(std::as_bytes(std::span(text)));
}

void AVAssetWriterBoxBuffer::bytes(std::span<const std::byte> bytes)
{
    mBytes.insert(mBytes.end(), bytes.begin(), bytes.end());
}

void AVAssetWriterBoxBuffer::setU32(std::size_t position, std::uint64_t value)
{
    for (std::size_t index = 0; index < 4; ++index)
        mBytes[position + index] = static_cast<std::byte>(value >> (24 - 8 * index));
}

void AVAssetWriterBoxBuffer::number(std::uint64_t value, int count)
{
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
        mBytes.push_back(static_cast<std::byte>(value >> shift));
}
