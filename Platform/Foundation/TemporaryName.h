#pragma once

#include "Platform/CoreFoundation/CFString.h"

#include <optional>
#include <string>

namespace Platform {

/// A path in \p folder that nothing has at the moment: the whole prefix followed by six letters and digits. Nothing is
/// created. Unlike the C library's operation of this name it neither shortens the prefix nor looks at the environment.
///
/// \return nothing when no such name can be found, and at the fail point "tempnam"
std::optional<std::string> tempnam(const std::string& folder, const std::string& prefix);

}
