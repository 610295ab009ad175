#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// Named places in Platform's operations at which a test can make the operation fail.
///
/// An operation asks for its point first: `if (const auto status = FAIL_POINT("CMBufferQueueCreate")) return *status;`.
/// Release builds answer "not armed" at compile time.
namespace FailPoint {

/// Arms a point: after \p skip passes, the next \p count passes yield \p status. From any thread.
void arm(std::string_view name, std::int32_t status = -1, std::uint64_t skip = 0, std::uint64_t count = UINT64_MAX);
void disarm(std::string_view name);
void disarmAll();
/// How many times an armed point was passed since it was armed.
std::uint64_t passes(std::string_view name);
/// The status that the operation is to fail with, if the point is armed and its turn has come.
std::optional<std::int32_t> check(std::string_view name);

/// Arms a point for the length of a scope.
class Scope {
public:
    explicit Scope(
        std::string_view name, std::int32_t status = -1, std::uint64_t skip = 0, std::uint64_t count = UINT64_MAX)
        : mName(name)
    {
        arm(name, status, skip, count);
    }
    ~Scope() { disarm(mName); }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

private:
    std::string_view mName;
};

}

#ifdef TOVRIN_FAIL_POINTS
#define FAIL_POINT(name) ::FailPoint::check(name)
#else
#define FAIL_POINT(name) std::optional<std::int32_t>()
#endif
