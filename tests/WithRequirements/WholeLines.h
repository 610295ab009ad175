#pragma once

#include "tests/WithRequirements/StandardErrorCapture.h"

/// What was logged, with an N for every line number.
inline std::string linesOf(StandardErrorCapture& log)
{
    return std::regex_replace(log.text(), std::regex("(:|LINE# )[0-9]+ \\("), "$1N (");
}

/// The lines of checks that failed in one file, as `linesOf` gives them.
class WholeLines {
public:
    explicit WholeLines(std::string file)
        : mFile(std::move(file))
    {
    }
    /// A reference is null where one of a type is required.
    std::string type(const std::string& text, const std::string& function) const
    {
        return "REQUIRED_CFTYPEOF " + text + "==NULL : in " + function + " LINE# N (" + mFile + ")\n\n";
    }
    std::string notNull(const std::string& text, const std::string& function) const
    {
        return "REQUIRED_NOT_NULL 0x00000000==NULL : " + text + " in " + function + " LINE# N (" + mFile + ")\n\n";
    }
    std::string condition(const std::string& text, const std::string& function) const
    {
        return "REQUIREMENT - SRC>>" + text + " in " + mFile + ":N (" + function + ")\n";
    }
    /// A status, with its beginning as \p kind.
    std::string source(const std::string& kind, const std::string& text, const std::string& function) const
    {
        return kind + " - SRC>>" + text + " in " + function + ":N (" + mFile + ")\n";
    }

private:
    std::string mFile;
};
