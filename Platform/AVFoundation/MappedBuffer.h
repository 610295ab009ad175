#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <span>

/// The bytes of a buffer, to read for the length of a scope; none if there is no buffer or it cannot be read.
class MappedBuffer {
public:
    explicit MappedBuffer(GstBuffer* buffer)
        : mBuffer(buffer)
        , mIsMapped(buffer && gst_buffer_map(buffer, &mMap, GST_MAP_READ))
    {
    }
    ~MappedBuffer()
    {
        if (mIsMapped)
            gst_buffer_unmap(mBuffer, &mMap);
    }
    MappedBuffer(const MappedBuffer&) = delete;
    MappedBuffer& operator=(const MappedBuffer&) = delete;

    std::span<const std::uint8_t> bytes() const
    {
        return mIsMapped ? std::span<const std::uint8_t>(mMap.data, mMap.size) : std::span<const std::uint8_t>();
    }

private:
    GstBuffer* const mBuffer;
    GstMapInfo mMap {};
    const bool mIsMapped;
};
