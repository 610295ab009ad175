#pragma once

#include <exception>
#include <string>
#include <utility>

/// An exception of the host's frameworks: a name that programs compare and a reason that people read.
class NSException : public std::exception {
public:
    NSException(std::string name, std::string reason)
        : mName(std::move(name))
        , mReason(std::move(reason))
    {
    }
    const std::string& name() const noexcept { return mName; }
    const std::string& reason() const noexcept { return mReason; }
    const char* what() const noexcept override { return mReason.c_str(); }

private:
    std::string mName;
    std::string mReason;
};

inline constexpr const char* NSInvalidArgumentException = "NSInvalidArgumentException";
inline constexpr const char* NSUndefinedKeyException = "NSUnknownKeyException";
inline constexpr const char* NSInternalInconsistencyException = "NSInternalInconsistencyException";
