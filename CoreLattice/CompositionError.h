#pragma once

#include <string>

namespace CoreLattice {

/// Why a composition cannot be used, and where its author can find the fault.
struct CompositionError {
    std::string file;
    int line = 0; ///< from 1; 0 when the fault has no line
    std::string message;

    /// "file:line: message", or "file: message".
    std::string text() const
    {
        return line > 0 ? file + ":" + std::to_string(line) + ": " + message : file + ": " + message;
    }
};

}
