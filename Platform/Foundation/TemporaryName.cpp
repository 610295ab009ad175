#include "Platform/Foundation/TemporaryName.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <filesystem>
#include <random>
#include <string_view>

namespace {

constexpr int letters = 6;
constexpr int mostAttempts = 100;

}

std::optional<std::string> Platform::tempnam(const std::string& folder, const std::string& prefix)
{
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    if (FAIL_POINT("tempnam"))
        return std::nullopt;
    std::random_device random;
    std::uniform_int_distribution<std::size_t> letter(0, alphabet.size() - 1);
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        std::string name = prefix;
        for (int i = 0; i < letters; ++i)
            name += alphabet[letter(random)];
        const auto path = std::filesystem::path(folder) / name;
        std::error_code error;
        if (!std::filesystem::exists(std::filesystem::symlink_status(path, error)))
            return path.string();
    }
    return std::nullopt;
}
