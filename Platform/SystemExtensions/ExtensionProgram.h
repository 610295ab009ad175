#pragma once

#include "Platform/SystemExtensions/OSSystemExtensions.h"

#include <optional>
#include <string>

/// Why a request could not be carried out.
struct ExtensionFailure {
    OSSystemExtensionErrorCode code = OSSystemExtensionErrorUnknown;
    /// What people read.
    std::string message;
};

/// The program of an extension as it lies beside the application.
struct ExtensionProgram {
    std::string path;
    std::string identifier;
    std::string version;

    /// Looks in the application's folder, and in the folder "bin" next to it, and asks the program what it is.
    /// \return OSSystemExtensionErrorExtensionNotFound when there is no program,
    /// OSSystemExtensionErrorValidationFailed when it cannot be run or has another identifier
    static std::optional<ExtensionFailure> find(const std::string& identifier, ExtensionProgram& program);
    /// Starts it as a process that outlives this one.
    /// \param supervisor  receives the identifier of that process, which leads a group of its own
    std::optional<ExtensionFailure> startDetached(int& supervisor) const;
};
