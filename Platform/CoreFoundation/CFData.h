#pragma once

#include "Platform/CoreFoundation/CFType.h"

#include <vector>

/// An immutable run of bytes.
class CFData final : public CFType {
public:
    explicit CFData(std::vector<std::byte> bytes = {})
        : mBytes(std::move(bytes))
    {
    }
    const std::vector<std::byte>& bytes() const noexcept { return mBytes; }
    CFTypeID typeID() const noexcept override;
    bool isEqual(CFType* other) override;
    std::string description() override;

private:
    const std::vector<std::byte> mBytes;
};

using CFDataRef = CFData*;
using NSData = CFData;

inline CFTypeID CFDataGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CFData" };
    return identifier.value();
}
