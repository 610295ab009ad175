#pragma once

#include "Platform/CoreMedia/CMTime.h"

/// A time as an object, for collections.
class NSValue final : public CFType {
public:
    explicit NSValue(const CMTime& time)
        : mTime(time)
    {
    }
    static Ref<NSValue> valueWithCMTime(const CMTime& time) { return make<NSValue>(time); }
    const CMTime& CMTimeValue() const noexcept { return mTime; }

    bool isEqual(CFType* other) override
    {
        const auto* const value = dynamic_cast<NSValue*>(other);
        return value && CMTimeCompare(value->mTime, mTime) == 0;
    }

private:
    const CMTime mTime;
};
