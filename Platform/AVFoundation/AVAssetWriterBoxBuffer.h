#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/// Builds the boxes of a movie file in memory: big-endian numbers, and boxes in boxes whose sizes are filled in when
/// they end. Format: ISO/IEC 14496-12, 4.2; QuickTime calls the same thing an atom.
class AVAssetWriterBoxBuffer {
public:
    void u8(std::uint64_t value) { number(value, 1); }
    void u16(std::uint64_t value) { number(value, 2); }
    void u32(std::uint64_t value) { number(value, 4); }
    void u64(std::uint64_t value) { number(value, 8); }
    void text(std::string_view text);
    void bytes(std::span<const std::byte> bytes);
    void zeros(std::size_t count) { mBytes.resize(mBytes.size() + count); }
    /// Overwrites the four bytes at \p position, which has been written already.
    void setU32(std::size_t position, std::uint64_t value);

    /// A box of the four-letter \p type whose content \p content writes.
    template <class Content> void box(std::string_view type, const Content& content)
    {
        const std::size_t start = mBytes.size();
        u32(0);
        text(type);
        content();
        setU32(start, mBytes.size() - start);
    }
    /// A box that begins with a version and 24 bits of flags.
    template <class Content>
    void fullBox(std::string_view type, unsigned version, std::uint32_t flags, const Content& content)
    {
        box(type, [&] {
            u32(std::uint32_t { version } << 24 | flags);
            content();
        });
    }

    std::size_t size() const noexcept { return mBytes.size(); }
    std::span<const std::byte> contents() const noexcept { return mBytes; }

private:
    void number(std::uint64_t value, int count);
    std::vector<std::byte> mBytes;
};
