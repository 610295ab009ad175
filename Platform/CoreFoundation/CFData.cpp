#include "Platform/CoreFoundation/CFData.h"

CFTypeID CFData::typeID() const noexcept
{
    return CFDataGetTypeID();
}

bool CFData::isEqual(CFType* other)
{
    const auto* const data = dynamic_cast<CFData*>(other);
    return data && data->mBytes == mBytes;
}

std::string CFData::description()
{
    return "{length = " + std::to_string(mBytes.size()) + "}";
}
